#include <iterator>
#include <tav/host/safety_words.hpp>

namespace tav::host {

using nkr::tavcore::ISafeMotionService;

namespace {

constexpr const char* kFunctions[] = {"none",
                                      "STO",
                                      "SBC_1",
                                      "SBC_2",
                                      "SBC_3",
                                      "SLS_1",
                                      "SLS_2",
                                      "SLS_3",
                                      "SLS_4",
                                      "SLS_5",
                                      "SLS_6",
                                      "SLS_7",
                                      "SLS_8",
                                      "SDIP_1",
                                      "SDIP_2",
                                      "SDIN_1",
                                      "SDIN_2",
                                      "ERROR_ACKNOWLEDGE",
                                      "RESTART_ACKNOWLEDGE"};
constexpr int kFirstFunction = -1;

constexpr std::int32_t kCanWords = 8;
constexpr int kCanBits = 8;
constexpr int kSafeInputBits = 6;
constexpr int kSafeOutputBits = 4;

}  // namespace

std::string safety_function_name(SafetyFunction function) {
  const auto position = static_cast<std::size_t>(static_cast<int>(function) - kFirstFunction);
  return position < std::size(kFunctions) ? kFunctions[position] : std::to_string(static_cast<int>(function));
}

std::optional<SafetyFunction> safety_function_named(const std::string& name) {
  for (std::size_t i = 0; i < std::size(kFunctions); ++i) {
    if (name == kFunctions[i]) return SafetyFunction{static_cast<int>(i) + kFirstFunction};
  }
  return std::nullopt;
}

std::vector<std::string> safety_function_names() {
  return {std::begin(kFunctions), std::end(kFunctions)};
}

std::string SafetyWord::name() const {
  if (number < kCanWords) return (control ? "control can" : "status can") + std::to_string(number + 1);
  return control ? "control safein" : "status safeout";
}

std::vector<SafetyWord> all_safety_words() {
  std::vector<SafetyWord> words;
  for (const bool control : {true, false}) {
    for (std::int32_t number = 0; number < kCanWords; ++number) words.push_back({control, number, kCanBits});
    words.push_back({control, kCanWords, control ? kSafeInputBits : kSafeOutputBits});
  }
  return words;
}

std::optional<SafetyWord> safety_word_named(const std::string& kind, const std::string& name) {
  const std::string wanted = kind + ' ' + name;
  for (const SafetyWord& word : all_safety_words()) {
    if (word.name() == wanted) return word;
  }
  return std::nullopt;
}

SafetyFunction& mapped_bit(ISafeMotionService::SafetyWordMapping& mapping, int bit) {
  SafetyFunction* const bits[] = {&mapping.bit0, &mapping.bit1, &mapping.bit2, &mapping.bit3,
                                  &mapping.bit4, &mapping.bit5, &mapping.bit6, &mapping.bit7};
  return *bits[bit];
}

bool& word_bit(ISafeMotionService::SafetyWordType& word, int bit) {
  bool* const bits[] = {&word.bit0, &word.bit1, &word.bit2, &word.bit3,
                        &word.bit4, &word.bit5, &word.bit6, &word.bit7};
  return *bits[bit];
}

}  // namespace tav::host
