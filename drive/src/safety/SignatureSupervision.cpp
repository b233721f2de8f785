#include "safety/SignatureSupervision.hpp"

#include <algorithm>
#include <utility>

#include "dictionary/Checksum.hpp"

namespace tav::drive {
namespace {

constexpr std::uint16_t kParameterError = 0x6320;

constexpr std::uint16_t kTimeUnit = 0x6600;
constexpr std::uint16_t kPositionUnit = 0x6601;
constexpr std::uint16_t kVelocityUnit = 0x6602;
constexpr std::uint16_t kAccelerationUnit = 0x6603;
constexpr std::uint16_t kFirstMapping = 0x66F0;
constexpr std::uint16_t kLastMapping = 0x66FF;
constexpr std::uint8_t kBitsOfWord = 8;

VendorBytes vendor_bytes(const Object& signature) {
  return {static_cast<std::uint8_t>(signature.index), static_cast<std::uint8_t>(signature.index >> 8),
          signature.subindex, 0, 0};
}

}  // namespace

SignatureSupervision::SignatureSupervision(Context& context, Errors& errors, std::function<void()> changed)
    : context_(context), errors_(errors), changed_(std::move(changed)) {
  for (unsigned index = kFirstMapping; index <= kLastMapping; ++index) {
    for (std::uint8_t bit = 1; bit <= kBitsOfWord; ++bit) {
      mapping_.push_back(context.dictionary.find(static_cast<std::uint16_t>(index), bit));
    }
  }
  constexpr bool kOfInstance = true;
  constexpr bool kOfAll = false;
  const auto zeros = [](std::size_t bytes) { return Parameter{0, bytes, kOfAll}; };
  // STO: restart acknowledge behaviour.
  add_function(0x6645, {{0x6641, 1, kOfAll}});
  // SBC: brake time delay.
  add_function(0x6662, {{kTimeUnit, 4, kOfAll}, {0x6661, 2, kOfInstance}});
  // SLS: time to monitoring, velocity limit, time in limits, error reaction.
  add_function(0x6699, {{kTimeUnit, 4, kOfAll},
                        {kVelocityUnit, 4, kOfAll},
                        {kAccelerationUnit, 4, kOfAll},
                        {0x6691, 2, kOfInstance},
                        zeros(2),
                        {0x6693, 4, kOfInstance},
                        {0x6694, 2, kOfInstance},
                        zeros(2),
                        zeros(2),
                        zeros(4),
                        {0x6698, 4, kOfInstance}});
  // SDI: velocity zero window.
  add_function(0x66D6, {{kPositionUnit, 4, kOfAll},
                        {kVelocityUnit, 4, kOfAll},
                        zeros(2),
                        zeros(4),
                        zeros(2),
                        {0x66D3, 4, kOfInstance}});
  watch_inputs();
}

void SignatureSupervision::add_function(std::uint16_t signature_index,
                                        const std::vector<Parameter>& parameters) {
  constexpr unsigned kMostInstances = 254;
  for (unsigned i = 1; i <= kMostInstances; ++i) {
    const auto number = static_cast<std::uint8_t>(i);
    Object* signature = context_.dictionary.find(signature_index, number);
    if (signature == nullptr) return;
    Instance instance{signature, {}, false};
    for (const Parameter& parameter : parameters) {
      const std::uint8_t subindex = parameter.of_instance ? number : std::uint8_t{0};
      const Object* object =
          parameter.index == 0 ? nullptr : context_.dictionary.find(parameter.index, subindex);
      instance.inputs.push_back({object, parameter.bytes});
    }
    instances_.push_back(std::move(instance));
  }
}

void SignatureSupervision::watch(Object* object, std::function<void()> action) {
  if (object != nullptr) object->when_written(std::move(action));
}

void SignatureSupervision::watch_inputs() {
  for (Object* mapping : mapping_) watch(mapping, [this] { check_all(); });
  // The objects that several signatures cover.
  for (const std::uint16_t unit : {kTimeUnit, kPositionUnit, kVelocityUnit, kAccelerationUnit}) {
    watch(context_.dictionary.find(unit, 0), [this] { check_all(); });
  }
  for (Instance& instance : instances_) {
    const auto check_it = [this, &instance] {
      check(instance);
      changed_();
    };
    watch(instance.signature, check_it);
    for (const Input& input : instance.inputs) {
      if (input.object == nullptr || input.object->index <= kAccelerationUnit) continue;
      watch(context_.dictionary.find(input.object->index, input.object->subindex), check_it);
    }
  }
}

std::uint16_t SignatureSupervision::compute(const Instance& instance) const {
  Checksum checksum;
  for (const Input& input : instance.inputs) checksum.feed(input.object, input.bytes);
  for (const Object* mapping : mapping_) checksum.feed(mapping, sizeof(std::uint32_t));
  return checksum.value();
}

void SignatureSupervision::check(Instance& instance) {
  const bool differs = unsigned_of(instance.signature->value) != compute(instance);
  if (std::exchange(instance.differs, differs) == differs) return;
  const VendorBytes vendor = vendor_bytes(*instance.signature);
  if (differs) {
    errors_.raise(kParameterError, vendor, Errors::Ends::WITH_ITS_CAUSE, true);
  } else {
    errors_.clear(kParameterError, vendor);
  }
}

void SignatureSupervision::check_all() {
  for (Instance& instance : instances_) check(instance);
  changed_();
}

bool SignatureSupervision::agree() const {
  return std::none_of(instances_.begin(), instances_.end(),
                      [](const Instance& instance) { return instance.differs; });
}

void SignatureSupervision::reset(Reset kind) {
  if (kind == Reset::COMMUNICATION) return;
  for (Instance& instance : instances_) instance.differs = false;
  check_all();
}

}  // namespace tav::drive
