#ifndef TAV_HOST_SRC_MACHINE_CONFIGURATIONKEYS_HPP
#define TAV_HOST_SRC_MACHINE_CONFIGURATIONKEYS_HPP

#include <string>
#include <string_view>
#include <tav/host/HostConfiguration.hpp>
#include <variant>
#include <vector>

namespace tav::host {

/** A key of a configuration file that describes a drive. */
struct ConfigurationKey {
  using Values = nkr::tavcore::ConfigValues;
  using Target =
      std::variant<int Values::*, double Values::*, std::string Values::*, bool UnitConfiguration::*>;

  std::string_view name;
  Target target;
  bool is_hardware = false;  ///< stands in the hardware section, else in "[default]"
  bool is_needed_in_unit =
      true;  ///< by a "[unit NAME]"; "[default]" needs all but the ones that it did not know
  bool is_needed_in_default = true;
  double low = 0.0;   ///< of numbers: the smallest value that means something
  double high = 0.0;  ///< the largest; 0: none
  const char* expected = "";
};

[[nodiscard]] const std::vector<ConfigurationKey>& configuration_keys();

/** Sets what the key stands for; false when the text is no value of its form. */
[[nodiscard]] bool assign(const ConfigurationKey& key, std::string_view text, UnitConfiguration& unit);

/** Whether a number that was assigned means something. */
[[nodiscard]] bool is_in_range(const ConfigurationKey& key, const UnitConfiguration& unit);

}  // namespace tav::host

#endif
