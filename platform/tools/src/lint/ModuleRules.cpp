// Modular devices: the modules that a coupler supports, and those of a DCF (CiA 306, 6).
#include <algorithm>
#include <nkr/tools/ObjectValue.hpp>
#include <string>

#include "lint/NumberedKeys.hpp"
#include "lint/Rules.hpp"
#include "text/IniLines.hpp"

namespace nkr::tools {

namespace {

std::int64_t supported_modules(const DescriptionView& view) {
  return view.number(view.section("SupportedModules"), "NrOfEntries").value_or(0);
}

/** More than there are sections cannot be described; the first of them stands for the rest. */
std::int64_t modules_to_check(const DescriptionView& view) {
  const auto most = static_cast<std::int64_t>(view.text().sections.size()) + 1;
  return std::min(supported_modules(view), most);
}

/** A section of module x: "M3ModuleInfo". */
const Section* module_section(const DescriptionView& view, std::int64_t module, std::string_view name) {
  return view.section("M" + std::to_string(module) + std::string(name));
}

void check_described(const DescriptionView& view, const Findings& findings) {
  const std::int64_t modules = modules_to_check(view);
  for (std::int64_t module = 1; module <= modules; ++module) {
    if (module_section(view, module, "ModuleInfo") != nullptr) continue;
    const Section* list = view.section("SupportedModules");
    findings.add(view.place(list, "NrOfEntries"), "M" + std::to_string(module) + "ModuleInfo",
                 "no such module");
  }
}

void check_info(const DescriptionView& view, const Findings& findings) {
  const std::int64_t modules = modules_to_check(view);
  for (std::int64_t module = 1; module <= modules; ++module) {
    const Section* info = module_section(view, module, "ModuleInfo");
    if (info == nullptr) continue;
    for (const std::string_view name : {"ProductName", "OrderCode"}) {
      if (view.key(info, name) == nullptr) findings.add(view.place(info, name), "the key is missing");
    }
    for (const std::string_view name : {"ProductVersion", "ProductRevision"}) {
      const auto number = view.number(info, name);
      const KeyLine* line = view.key(info, name);
      if (number && *number >= 0 && *number <= 0xFF) continue;
      findings.add(view.place(info, name), line == nullptr ? "the key is missing" : line->value);
    }
  }
}

/** Digits of an index that a module's list names: "2000"; empty when it names none. */
std::string index_digits(std::string_view text) {
  const auto index = number_of(text);
  if (!index || *index < 1 || *index > 0xFFFF) return {};
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string digits;
  for (int shift = 12; shift >= 0; shift -= 4)
    digits += kDigits[static_cast<std::size_t>(*index >> shift & 0xF)];
  return digits;
}

/** Calls back with each entry of a list of objects of a module, and with the section that describes it. */
template <typename Visit>
void for_each_module_object(const DescriptionView& view, std::string_view list_name,
                            std::string_view object_name, Visit visit) {
  const std::int64_t modules = modules_to_check(view);
  for (std::int64_t module = 1; module <= modules; ++module) {
    const Section* list = module_section(view, module, list_name);
    if (list == nullptr) continue;
    for (const auto* line = view.begin(*list); line != view.end(*list); ++line) {
      if (!all_digits(line->name)) continue;
      visit(*list, *line, module_section(view, module, std::string(object_name) + index_digits(line->value)));
    }
  }
}

void check_objects(const DescriptionView& view, const Findings& findings) {
  const std::int64_t modules = modules_to_check(view);
  for (std::int64_t module = 1; module <= modules; ++module) {
    for (const std::string_view name : {"FixedObjects", "SubExtends"}) {
      const Section* list = module_section(view, module, name);
      if (list != nullptr && !is_counted(view, *list, "NrOfEntries", "")) {
        findings.add(view.place(list, "NrOfEntries"));
      }
    }
  }
  const auto undescribed = [&findings](const Section& list, const KeyLine& line, const Section* object) {
    if (object == nullptr) findings.add(list.at(line), std::string(line.value) + " is not described");
  };
  for_each_module_object(view, "FixedObjects", "Fixed", undescribed);
  for_each_module_object(view, "SubExtends", "SubExt", undescribed);
}

/** "n" new sub-entries a module, or "0;b" for b bits of a shared one. */
bool is_count(std::string_view text) {
  const std::size_t cut = text.find(';');
  const auto is_byte = [](std::string_view part) {
    const auto number = number_of(part);
    return number && *number >= 0 && *number <= 0xFF;
  };
  return is_byte(text.substr(0, cut)) && (cut == std::string_view::npos || is_byte(text.substr(cut + 1)));
}

void check_extensions(const DescriptionView& view, const Findings& findings) {
  const auto check = [&](const Section& /*list*/, const KeyLine& /*line*/, const Section* object) {
    if (object == nullptr) return;
    const KeyLine* count = view.key(object, "Count");
    if (count == nullptr || !is_count(count->value)) {
      findings.add(view.place(object, "Count"), count == nullptr ? "the key is missing" : count->value);
    }
    const auto highest = view.number(object, "ObjExtend");
    if (highest && *highest >= 0 && *highest <= 0xFE) return;
    const KeyLine* line = view.key(object, "ObjExtend");
    findings.add(view.place(object, "ObjExtend"), line == nullptr ? "the key is missing" : line->value);
  };
  for_each_module_object(view, "SubExtends", "SubExt", check);
}

void check_connected(const DescriptionView& view, const Findings& findings) {
  const Section* connected = view.section("ConnectedModules");
  if (connected == nullptr) return;
  if (!is_counted(view, *connected, "NrOfEntries", "")) {
    findings.add(view.place(connected, "NrOfEntries"), "not the number of entries 1, 2 ...");
  }
  const std::int64_t modules = supported_modules(view);
  for (const auto* line = view.begin(*connected); line != view.end(*connected); ++line) {
    if (!all_digits(line->name)) continue;
    const auto module = number_of(line->value);
    if (!module || *module < 1 || *module > modules)
      findings.add(connected->at(*line), line->value, "nothing");
  }
}

constexpr std::array kRules = {
    Rule{Problem::MODULE_ABSENT, check_described},    Rule{Problem::MODULE_INFO, check_info},
    Rule{Problem::MODULE_OBJECTS, check_objects},     Rule{Problem::MODULE_EXTENSION, check_extensions},
    Rule{Problem::CONNECTED_MODULE, check_connected},
};

}  // namespace

RuleTable module_rules() {
  return table_of(kRules);
}

}  // namespace nkr::tools
