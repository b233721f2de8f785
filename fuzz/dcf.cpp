// Descriptions as documents: unchanged they are written back byte for byte; what is set is read again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <nkr/tools/DCFDocument.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <sstream>

namespace {

using nkr::tools::DCFDocument;

void require(bool holds) {
  if (!holds) std::abort();
}

bool parse(DCFDocument& dcf, const std::string& text) {
  std::istringstream stream(text);
  return dcf.parse(stream);
}

/** Sets a value of every object that the reader finds, and reads it again. */
void check_values(DCFDocument& dcf, const std::string& text) {
  nkr::tools::EDSParser parser;
  std::istringstream stream(text);
  if (!parser.parse(stream, false)) return;
  std::size_t set = 0;
  for (const auto& object : parser.objects()) {
    if (++set > 20) return;
    if (!dcf.setParameterValue(object->getObjectID(), "0x12")) continue;
    require(dcf.getParameterValue(object->getObjectID()) == "0x12");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  DCFDocument dcf;
  if (!parse(dcf, text)) return 0;
  require(dcf.text() == text);
  check_values(dcf, text);
  require(dcf.setNodeId(42));
  require(dcf.set("DeviceInfo", "VendorName", "fuzz"));
  DCFDocument again;
  require(parse(again, dcf.text()));
  require(again.get("DeviceInfo", "VendorName") == "fuzz");
  require(again.text() == dcf.text());
  return 0;
}
