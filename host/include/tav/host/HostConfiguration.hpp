#ifndef TAV_HOST_HOSTCONFIGURATION_HPP
#define TAV_HOST_HOSTCONFIGURATION_HPP

#include <nkr/export.h>

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <tav/host/Result.hpp>
#include <tavcore/Config.hpp>
#include <vector>

namespace tav::host {

/** One drive that a configuration file describes. */
struct NKR_EXPORT UnitConfiguration {
  /** Of its section "[unit NAME]"; empty for the drive of section "[default]". */
  std::string name;
  /** Complete. Lengths are in millimetres, velocities in the drive's unit; the path of the description is
   * where it was found. */
  nkr::tavcore::ConfigValues values;
  /** Key "sense": whether the drive's positive velocity turns its wheel backward. */
  bool is_inverted = false;

  [[nodiscard]] std::shared_ptr<nkr::tavcore::Config> config() const;
};

/** Section "[vehicle]": two wheels, each a unit of the file. */
struct VehicleConfiguration {
  double track_width = 0.0;  ///< between the wheels, millimetres
  std::string left;          ///< name of a unit
  std::string right;
};

/** Something to say about a configuration file. */
struct ConfigurationRemark {
  bool is_mistake = false;  ///< the file cannot be used; else a warning
  std::size_t line = 0;     ///< counted from 1; 0: the file as a whole
  std::string section;      ///< empty where none is concerned
  std::string key;          ///< empty where none is concerned
  std::string found;        ///< what stands there; for people
  std::string help;         ///< the expected form, or what else helps; for people
};

/** "FILE:24: [tav_unit] reduction = 10,0: expected a number above 0 with a decimal point, such as 10.0";
 * without the file and the line for an empty name. */
[[nodiscard]] NKR_EXPORT std::string text(const ConfigurationRemark& remark, const std::string& file);

/**
 * What a configuration file (INI) says of one drive or several, read as a whole: everything that is wrong
 * with it is told at once. Today's form, sections "[default]" and the one that "HWConfigurationEntry" names,
 * is understood as nkr::tavcore::Config::load() does. Beside or instead of it, each section "[unit NAME]"
 * describes a drive; what it does not say comes from "[default]" and from the hardware section.
 *
 * A relative path of a description counts from the folder the program runs in; when nothing is there, from
 * the folder of the configuration file.
 */
class NKR_EXPORT HostConfiguration {
 public:
  /**
   * Reads the file; nothing is logged.
   * @return with Cause::CONFIGURATION when the file cannot be read or holds a mistake: the explanation's
   * detail says all of them, remarks() are the same. The units are then not to be used.
   */
  Result read(const std::string& path);
  /** The same of a text that is called `path`. */
  Result read(std::istream& stream, const std::string& path);

  [[nodiscard]] const std::string& path() const { return path_; }
  /** In the order of the file, that of "[default]" first. */
  [[nodiscard]] const std::vector<UnitConfiguration>& units() const { return units_; }
  /** None without a section "[vehicle]". */
  [[nodiscard]] const std::optional<VehicleConfiguration>& vehicle() const { return vehicle_; }
  /** Mistakes and warnings, in the order of the lines. */
  [[nodiscard]] const std::vector<ConfigurationRemark>& remarks() const { return remarks_; }

  /**
   * The unit of that name. An empty name chooses the drive of "[default]", or the only unit of the file.
   * @return with Cause::CONFIGURATION, naming the units there are, when it names none or more than one
   */
  Result select(const std::string& name, UnitConfiguration& unit) const;

 private:
  std::string path_;
  std::vector<UnitConfiguration> units_;
  std::optional<VehicleConfiguration> vehicle_;
  std::vector<ConfigurationRemark> remarks_;
};

}  // namespace tav::host

#endif
