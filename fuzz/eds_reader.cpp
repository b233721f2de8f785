// Device descriptions: every text is read or refused, and what was read answers by name and by index.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
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
    for (const char c : diagnostic.section + diagnostic.problem + diagnostic.taken) {
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  EDSParser parser;
  std::istringstream stream(text);
  const bool read = parser.parse(stream, false);
  require(read || parser.objects().empty());
  check_diagnostics(parser.diagnostics());
  check_objects(parser);
  EDSParser strict;
  std::istringstream again(text);
  require(!strict.parse(again, true) || read);
  return 0;
}
