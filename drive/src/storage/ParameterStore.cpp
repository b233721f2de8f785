#include "storage/ParameterStore.hpp"

#include <utility>

#include "dictionary/ElectronicDataSheet.hpp"

namespace tav::drive {
namespace {

constexpr std::uint32_t kSave = 0x65766173;  // "save"
constexpr std::uint32_t kLoad = 0x64616F6C;  // "load"

bool starts_with(const std::string& text, const char* beginning) {
  return text.rfind(beginning, 0) == 0;
}

}  // namespace

ParameterStore::ParameterStore(Context& context)
    : context_(context), file_(context.settings.store_path, context.settings.store_step) {
  readable_ = file_.read(stored_);
  add_command(0x1010, kSave, &ParameterStore::save);
  add_command(0x1011, kLoad, &ParameterStore::restore);
}

void ParameterStore::add_command(std::uint16_t index, std::uint32_t signature,
                                 Abort (ParameterStore::*action)(Group)) {
  for (std::uint8_t i = 1; i <= static_cast<std::uint8_t>(Group::TEST_RESULTS); ++i) {
    Object* object = context_.dictionary.find(index, i);
    if (object == nullptr) continue;
    const auto group = static_cast<Group>(i);
    // Done while it can still be refused: a drive that could not store says so.
    object->refuse_when([this, signature, action, group](const Bytes& bytes) {
      if (unsigned_of(bytes) != signature) return Abort::CANNOT_STORE;
      context_.work += context_.settings.timing.store;  // memory is slow
      return (this->*action)(group);
    });
    // What is read there tells the capability: 1, on command.
    object->when_written([object] { put_number(object->value, 1); });
  }
}

bool ParameterStore::is_network(const Object& object) {
  return object.name == "Node ID" || object.name == "R Termination";
}

ParameterStore::Group ParameterStore::group_of(const Object& object) {
  constexpr std::uint16_t kDeviceName = 0x1008;
  constexpr std::uint16_t kSoftwareVersion = 0x100A;
  if (is_network(object)) return Group::COMMUNICATION;
  if (object.index >= kDeviceName && object.index <= kSoftwareVersion) return Group::INTERNAL;
  if (object.index < 0x2000) return Group::COMMUNICATION;
  if (object.index >= 0x6000) return Group::APPLICATION;
  if (starts_with(object.name, "self_test")) return Group::TEST_RESULTS;
  if (starts_with(object.name, "nkr_hall_public_config")) return Group::INTERNAL;
  if (starts_with(object.name, "nkr_system_error_public_config")) return Group::INTERNAL;
  return Group::MANUFACTURER;
}

/** Parameters are kept; commands, set-points and lists of errors are not. */
bool ParameterStore::is_stored(const Object& object) {
  if (!object.writable || !object.readable || object.mappable) return false;
  switch (object.index) {
    case 0x1003:
    case 0x1010:
    case 0x1011:
      return false;
    default:
      return !starts_with(object.name, "Safety controlwords");
  }
}

/** "All" leaves the factory's own groups alone: they have their own entries. */
bool ParameterStore::belongs(const Object& object, Group group) {
  if (!is_stored(object)) return false;
  const Group own = group_of(object);
  if (group != Group::ALL) return own == group;
  return own == Group::COMMUNICATION || own == Group::APPLICATION || own == Group::MANUFACTURER;
}

Abort ParameterStore::save(Group group) {
  Values values = stored_;
  for (const Object& object : context_.dictionary.objects()) {
    if (!belongs(object, group)) continue;
    // A default is not written down: where it depends on the node id it follows the next one.
    const std::uint32_t key = key_of(object.index, object.subindex);
    if (!is_network(object) && object.value == default_value(object, context_.node_id)) {
      values.erase(key);
    } else {
      values[key] = object.value;
    }
  }
  if (fails_ || !file_.write(values)) return Abort::HARDWARE;
  stored_ = std::move(values);
  if (group == Group::ALL || group == Group::COMMUNICATION) network_restored_ = false;
  return Abort::NONE;
}

Abort ParameterStore::restore(Group group) {
  Values values = stored_;
  for (const Object& object : context_.dictionary.objects()) {
    if (belongs(object, group)) values.erase(key_of(object.index, object.subindex));
  }
  if (fails_ || !file_.write(values)) return Abort::HARDWARE;
  stored_ = std::move(values);
  if (group == Group::ALL || group == Group::COMMUNICATION) network_restored_ = true;
  return Abort::NONE;
}

bool ParameterStore::load(Object& object) const {
  const auto place = stored_.find(key_of(object.index, object.subindex));
  if (place == stored_.end()) return false;
  // A file of another version of the description may hold values of another length.
  const bool fits =
      object.kind == Kind::TEXT ? place->second.size() <= object.size : place->second.size() == object.size;
  if (fits) object.value = place->second;
  return fits;
}

void ParameterStore::deliver(const Object& object) {
  stored_.emplace(key_of(object.index, object.subindex), object.value);
}

void ParameterStore::reset(Reset /*kind*/) {
  network_restored_ = false;
}

}  // namespace tav::drive
