#include <algorithm>
#include <array>
#include <nkr/tools/DescriptionDiff.hpp>
#include <tuple>

#include "eds/ValueText.hpp"

namespace nkr::tools {

namespace {

using Description = ObjectEntry::Description;
using Text = std::optional<std::string>;
using Differences = std::vector<DescriptionDifference>;

/** A fact outside the objects, and what it means that it differs. */
struct Fact {
  std::string_view section;
  std::string_view key;
  Impact impact;
};

constexpr std::string_view kCommissioning = "DeviceComissioning";

constexpr std::array kFacts = {
    Fact{kCommissioning, "NodeID", Impact::BREAKS},
    Fact{kCommissioning, "Baudrate", Impact::BREAKS},
    Fact{kCommissioning, "CANopenManager", Impact::CHANGES},
    Fact{kCommissioning, "NodeName", Impact::TEXT},
    Fact{kCommissioning, "NetNumber", Impact::TEXT},
    Fact{kCommissioning, "NetworkName", Impact::TEXT},
    Fact{kCommissioning, "LSS_SerialNumber", Impact::TEXT},
    Fact{"DeviceInfo", "VendorNumber", Impact::BREAKS},
    Fact{"DeviceInfo", "ProductNumber", Impact::BREAKS},
    Fact{"DeviceInfo", "RevisionNumber", Impact::CHANGES},
    Fact{"DeviceInfo", "BaudRate_10", Impact::CHANGES},
    Fact{"DeviceInfo", "BaudRate_20", Impact::CHANGES},
    Fact{"DeviceInfo", "BaudRate_50", Impact::CHANGES},
    Fact{"DeviceInfo", "BaudRate_125", Impact::CHANGES},
    Fact{"DeviceInfo", "BaudRate_250", Impact::CHANGES},
    Fact{"DeviceInfo", "BaudRate_500", Impact::CHANGES},
    Fact{"DeviceInfo", "BaudRate_800", Impact::CHANGES},
    Fact{"DeviceInfo", "BaudRate_1000", Impact::CHANGES},
    Fact{"DeviceInfo", "SimpleBootUpMaster", Impact::CHANGES},
    Fact{"DeviceInfo", "SimpleBootUpSlave", Impact::CHANGES},
    Fact{"DeviceInfo", "Granularity", Impact::CHANGES},
    Fact{"DeviceInfo", "NrOfRXPDO", Impact::CHANGES},
    Fact{"DeviceInfo", "NrOfTXPDO", Impact::CHANGES},
    Fact{"DeviceInfo", "LSS_Supported", Impact::CHANGES},
    Fact{"DeviceInfo", "VendorName", Impact::TEXT},
    Fact{"DeviceInfo", "ProductName", Impact::TEXT},
    Fact{"DeviceInfo", "OrderCode", Impact::TEXT},
    Fact{"FileInfo", "FileVersion", Impact::TEXT},
    Fact{"FileInfo", "FileRevision", Impact::TEXT},
    Fact{"FileInfo", "Description", Impact::TEXT},
};

Text without_empty(Text text) {
  return text && text->empty() ? std::nullopt : std::move(text);
}

Text fact_of(const EDSParser& description, const Fact& fact) {
  Text text = description.getInfo(fact.section, fact.key);
  // Most people spell it with a second m.
  if (!text && fact.section == kCommissioning) text = description.getInfo("DeviceCommissioning", fact.key);
  return without_empty(std::move(text));
}

bool is_same_number(const std::string& a, const std::string& b) {
  const auto number = number_of(a);
  return number && number == number_of(b);
}

/** True when two texts give a type the same value, for every node id. */
bool is_same_value(const std::string& a, const std::string& b, DataType type) {
  if (a == b) return true;
  const auto same_for = [&](std::uint8_t node_id) {
    const auto value = integer_of(a, type, node_id);
    return value && value == integer_of(b, type, node_id);
  };
  if (integer_bits(type) != 0) return same_for(1) && same_for(2);
  const bool real = type == DataType::REAL32 || type == DataType::REAL64;
  return real && real_of(a) && real_of(a) == real_of(b);
}

/** Objects that say what goes over the bus, and under which identifier. */
bool is_of_the_wire(std::uint16_t index) {
  const bool services = index == 0x1005 || index == 0x1012 || index == 0x1014;
  return services || (index >= 0x1200 && index <= 0x13FF) || (index >= 0x1400 && index <= 0x1BFF);
}

std::string_view access_text(AccessType access) {
  constexpr std::array<std::string_view, 7> kTexts = {"", "ro", "wo", "rw", "rwr", "rww", "const"};
  return kTexts[static_cast<std::size_t>(access)];
}

Impact impact_of_access(AccessType before, AccessType after) {
  const bool lost =
      (is_readable(before) && !is_readable(after)) || (is_writable(before) && !is_writable(after));
  const bool won =
      (!is_readable(before) && is_readable(after)) || (!is_writable(before) && is_writable(after));
  if (lost) return Impact::BREAKS;
  return won ? Impact::ADDS : Impact::CHANGES;
}

/** The differences of one object that is in both. */
class ObjectComparison {
 public:
  ObjectComparison(const Description& before, const Description& after, Differences& differences)
      : before_(before), after_(after), differences_(differences) {}

  void run() {
    if (before_.name != after_.name) add(Impact::BREAKS, "ParameterName", before_.name, after_.name);
    compare_number("ObjectType", before_.object_type, after_.object_type);
    compare_number("DataType", static_cast<std::uint16_t>(before_.data_type),
                   static_cast<std::uint16_t>(after_.data_type));
    if (before_.access != after_.access) {
      add(impact_of_access(before_.access, after_.access), "AccessType",
          std::string(access_text(before_.access)), std::string(access_text(after_.access)));
    }
    if (before_.pdo_mapping != after_.pdo_mapping) {
      add(before_.pdo_mapping ? Impact::BREAKS : Impact::ADDS, "PDOMapping", before_.pdo_mapping ? "1" : "0",
          after_.pdo_mapping ? "1" : "0");
    }
    const Impact value = is_of_the_wire(before_.id.index()) ? Impact::BREAKS : Impact::CHANGES;
    compare_value(value, "DefaultValue", before_.default_value, after_.default_value);
    compare_value(value, "ParameterValue", before_.parameter_value, after_.parameter_value);
    compare_value(Impact::CHANGES, "LowLimit", before_.low_limit, after_.low_limit);
    compare_value(Impact::CHANGES, "HighLimit", before_.high_limit, after_.high_limit);
  }

 private:
  void add(Impact impact, std::string_view key, Text before, Text after) {
    differences_.push_back({impact, before_.id, before_.name, std::string(key),
                            without_empty(std::move(before)), without_empty(std::move(after))});
  }

  void compare_number(std::string_view key, std::uint16_t before, std::uint16_t after) {
    if (before != after) add(Impact::BREAKS, key, hexadecimal(before), hexadecimal(after));
  }

  void compare_value(Impact impact, std::string_view key, const Text& before, const Text& after) {
    const Text first = without_empty(before);
    const Text second = without_empty(after);
    const bool same = first && second ? is_same_value(*first, *second, after_.data_type) : !first && !second;
    if (!same) add(impact, key, first, second);
  }

  const Description& before_;
  const Description& after_;
  Differences& differences_;
};

void compare_facts(const EDSParser& before, const EDSParser& after, Differences& differences) {
  for (const Fact& fact : kFacts) {
    Text first = fact_of(before, fact);
    Text second = fact_of(after, fact);
    if (first == second || (first && second && is_same_number(*first, *second))) continue;
    differences.push_back({fact.impact, std::nullopt, std::string(fact.section), std::string(fact.key),
                           std::move(first), std::move(second)});
  }
}

void compare_objects(const EDSParser& before, const EDSParser& after, Differences& differences) {
  for (const auto& object : before.objects()) {
    const Description& first = object->description();
    const ObjectEntry* second = after.find(first.id);
    if (second == nullptr) {
      differences.push_back({Impact::BREAKS, first.id, first.name, {}, first.name, std::nullopt});
    } else {
      ObjectComparison(first, second->description(), differences).run();
    }
  }
  for (const auto& object : after.objects()) {
    const Description& second = object->description();
    if (before.find(second.id) != nullptr) continue;
    differences.push_back({Impact::ADDS, second.id, second.name, {}, std::nullopt, second.name});
  }
}

}  // namespace

std::vector<DescriptionDifference> compare_descriptions(const EDSParser& before, const EDSParser& after) {
  Differences differences;
  compare_facts(before, after, differences);
  compare_objects(before, after, differences);
  // What stands outside the objects comes first among its equals; an object's keys keep their order.
  std::stable_sort(differences.begin(), differences.end(),
                   [](const DescriptionDifference& a, const DescriptionDifference& b) {
                     return std::tie(a.impact, a.object) < std::tie(b.impact, b.object);
                   });
  return differences;
}

}  // namespace nkr::tools
