// Device descriptions: every text is read or refused, what was read answers by name and by index, and a check
// ends.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <nkr/tools/DescriptionDiff.hpp>
#include <nkr/tools/EDSLint.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <sstream>

namespace {

using nkr::tools::EDSParser;

void require(bool holds) {
  if (!holds) std::abort();
}

void check_diagnostics(const std::vector<nkr::tools::Diagnostic>& diagnostics) {
  require(diagnostics.size() <= 1001);
  for (const auto& diagnostic : diagnostics) {
    for (const char c : diagnostic.section + diagnostic.key + diagnostic.problem + diagnostic.taken) {
      require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
    }
  }
}

void check_objects(const EDSParser& parser) {
  nkr::tools::ObjectID before;
  for (const auto& object : parser.objects()) {
    require(before < object->getObjectID());
    before = object->getObjectID();
    require(parser.find(before) == object.get());
    if (!object->getName().empty()) require(parser.find(object->getName()) != nullptr);
    const auto limits = nkr::tools::limits_of(object->description());
    const bool is_unsigned_64 = object->getDataType() == nkr::tools::DataType::UNSIGNED64;
    if (limits.low && limits.high && !is_unsigned_64) require(*limits.low <= *limits.high);
    static_cast<void>(nkr::tools::real_of(object->getDefaultValue()));
  }
}

void check_lint(const std::string& text, bool read) {
  std::istringstream stream(text);
  const nkr::tools::LintResult result = nkr::tools::lint_description(stream);
  require(result.readable == read);
  require(!result.conforming || read);
  check_diagnostics(result.diagnostics);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  EDSParser parser;
  std::istringstream stream(text);
  const bool read = parser.parse(stream, false);
  require(read || parser.objects().empty());
  check_diagnostics(parser.diagnostics());
  check_objects(parser);
  check_lint(text, read);
  require(nkr::tools::compare_descriptions(parser, parser).empty());
  EDSParser strict;
  std::istringstream again(text);
  require(!strict.parse(again, true) || read);
  return 0;
}
