#ifndef TAV_DRIVE_SRC_STORAGE_PARAMETERSTORE_HPP
#define TAV_DRIVE_SRC_STORAGE_PARAMETERSTORE_HPP

#include <cstdint>

#include "node/Part.hpp"
#include "storage/ValueFile.hpp"

namespace tav::drive {

/**
 * The non-volatile memory: "save" written to an entry of 0x1010 stores a group of parameters, "load" written
 * to an entry of 0x1011 forgets what was stored of it (CiA 301, 7.5.2.13 and 7.5.2.14). Either takes effect
 * with the next reset.
 */
class ParameterStore : public Part {
 public:
  explicit ParameterStore(Context& context);

  /** False when the file was there and could not be read. */
  [[nodiscard]] bool readable() const { return readable_; }
  /** Gives the object its power-on value, when one is stored. @return false when none is */
  [[nodiscard]] bool load(Object& object) const;
  /** A value as it was delivered: as stored, but the file does not have it. */
  void deliver(const Object& object);
  /** The network settings were restored and wait for a reset of any kind. */
  [[nodiscard]] bool network_restored() const { return network_restored_; }

  /** Nothing can be written from now on; or it can. */
  void fail(bool fails) { fails_ = fails; }

  void reset(Reset kind) override;

  /** Node id and bus termination: they belong to the communication parameters, wherever they stand. */
  [[nodiscard]] static bool is_network(const Object& object);

 private:
  /** Groups of parameters, by their sub-index of 0x1010 and 0x1011. */
  enum class Group : std::uint8_t {
    ALL = 1,
    COMMUNICATION,
    APPLICATION,
    MANUFACTURER,
    INTERNAL,
    TEST_RESULTS
  };

  [[nodiscard]] static Group group_of(const Object& object);
  [[nodiscard]] static bool is_stored(const Object& object);
  [[nodiscard]] static bool belongs(const Object& object, Group group);
  void add_command(std::uint16_t index, std::uint32_t signature, Abort (ParameterStore::*action)(Group));
  [[nodiscard]] Abort save(Group group);
  [[nodiscard]] Abort restore(Group group);

  Context& context_;
  ValueFile file_;
  Values stored_;
  bool readable_ = true;
  bool network_restored_ = false;
  bool fails_ = false;
};

}  // namespace tav::drive

#endif
