// What a DCF adds to its EDS (CiA 306, 5).
#include <algorithm>
#include <nkr/tools/ObjectValue.hpp>
#include <string>

#include "eds/ValueText.hpp"
#include "lint/Rules.hpp"
#include "text/IniLines.hpp"

namespace nkr::tools {

namespace {

using Description = ObjectEntry::Description;

void check_node(const DescriptionView& view, const Findings& findings) {
  const Section* commissioning = view.commissioning();
  if (commissioning == nullptr) return;
  const auto node = view.number(commissioning, "NodeID");
  if (node && *node >= 1 && *node <= 127) return;
  const KeyLine* line = view.key(commissioning, "NodeID");
  findings.add(view.place(commissioning, "NodeID"), line == nullptr ? "the key is missing" : line->value,
               "no node id");
}

void check_rate(const DescriptionView& view, const Findings& findings) {
  constexpr std::array<std::int64_t, 8> kRates = {10, 20, 50, 125, 250, 500, 800, 1000};
  const Section* commissioning = view.commissioning();
  const KeyLine* line = view.key(commissioning, "Baudrate");
  if (line == nullptr || line->value.empty()) return;
  const auto rate = number_of(line->value);
  if (!rate || std::find(kRates.begin(), kRates.end(), *rate) == kRates.end()) {
    findings.add(commissioning->at(*line), line->value);
    return;
  }
  const auto supported = view.number(view.section("DeviceInfo"), "BaudRate_" + std::to_string(*rate));
  if (supported == 0) findings.add(commissioning->at(*line), std::string(line->value) + " is not supported");
}

void check_numbers(const DescriptionView& view, const Findings& findings) {
  struct Range {
    std::string_view key;
    std::int64_t most;
  };
  constexpr std::array kRanges = {Range{"NetNumber", 0xFFFFFFFF}, Range{"CANopenManager", 1},
                                  Range{"LSS_SerialNumber", 0xFFFFFFFF}};
  const Section* commissioning = view.commissioning();
  for (const Range& range : kRanges) {
    const KeyLine* line = view.key(commissioning, range.key);
    if (line == nullptr || line->value.empty()) continue;
    const auto number = number_of(line->value);
    if (!number || *number < 0 || *number > range.most) findings.add(commissioning->at(*line), line->value);
  }
}

void check_serial_number(const DescriptionView& view, const Findings& findings) {
  const Section* commissioning = view.commissioning();
  const auto stated = view.number(commissioning, "LSS_SerialNumber");
  const Description* object = view.object(ObjectID(0x1018, 4));
  const std::string* text = object == nullptr ? nullptr : DescriptionView::value_of(*object);
  const auto held = text == nullptr ? std::nullopt : integer_of(*text, DataType::UNSIGNED32);
  // 0 is no serial number.
  if (!stated || !held || *stated == 0 || *held == 0 || *stated == *held) return;
  findings.add(view.place(commissioning, "LSS_SerialNumber"),
               hexadecimal(*stated) + " here, " + hexadecimal(*held) + " in object 0x1018");
}

void check_last_eds(const DescriptionView& view, const Findings& findings) {
  const Section* file = view.section("FileInfo");
  if (view.commissioning() == nullptr || file == nullptr) return;
  const KeyLine* line = view.key(file, "LastEDS");
  if (line == nullptr || line->value.empty()) findings.add(view.place(file, "LastEDS"));
}

void check_constants(const DescriptionView& view, const Findings& findings) {
  for (const auto& entry : view.objects()) {
    const Description& object = entry->description();
    if (object.access != AccessType::CONST || !object.parameter_value || !object.default_value) continue;
    const auto value = integer_of(*object.parameter_value, object.data_type);
    const auto initial = integer_of(*object.default_value, object.data_type);
    if (!value || !initial || *value == *initial) continue;
    findings.add(view.place(object, "ParameterValue"),
                 *object.parameter_value + ", the default is " + *object.default_value);
  }
}

/** Calls back with each key of an object's section that names a file. */
template <typename Visit>
void for_each_file(const DescriptionView& view, Visit visit) {
  for (const Section& section : view.text().sections) {
    if (section.kind != SectionKind::OBJECT && section.kind != SectionKind::SUB) continue;
    for (const std::string_view name : {"UploadFile", "DownloadFile"}) {
      const KeyLine* line = view.key(&section, name);
      if (line != nullptr && !line->value.empty()) visit(section, *line);
    }
  }
}

void check_files_of_domains(const DescriptionView& view, const Findings& findings) {
  constexpr std::int64_t kDomain = 2;
  constexpr std::int64_t kDomainType = 0x0F;
  for_each_file(view, [&](const Section& section, const KeyLine& line) {
    const bool domain =
        view.number(&section, "ObjectType") == kDomain || view.number(&section, "DataType") == kDomainType;
    if (!domain) findings.add(section.at(line), line.value);
  });
}

/** True for a path that may leave the folder of the file. */
bool leaves_folder(std::string_view path) {
  const bool absolute = path.front() == '/' || path.front() == '\\' || path.substr(1, 1) == ":";
  return absolute || path.find("..") != std::string_view::npos || path.find("://") != std::string_view::npos;
}

void check_paths(const DescriptionView& view, const Findings& findings) {
  for_each_file(view, [&](const Section& section, const KeyLine& line) {
    if (leaves_folder(line.value)) findings.add(section.at(line), line.value, "nothing: no file is opened");
  });
}

constexpr std::array kRules = {
    Rule{Problem::COMMISSIONED_NODE, check_node},
    Rule{Problem::COMMISSIONED_RATE, check_rate},
    Rule{Problem::COMMISSIONED_NUMBER, check_numbers},
    Rule{Problem::COMMISSIONED_SERIAL, check_serial_number},
    Rule{Problem::LAST_EDS, check_last_eds},
    Rule{Problem::CONSTANT_VALUE, check_constants},
    Rule{Problem::FILE_OF_OTHER, check_files_of_domains},
    Rule{Problem::FILE_OUTSIDE, check_paths},
};

}  // namespace

RuleTable commissioning_rules() {
  return table_of(kRules);
}

}  // namespace nkr::tools
