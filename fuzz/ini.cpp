// Configuration texts; what stands before a "|" is the key that is asked for.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <nkr/tools/INIParser.hpp>
#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(bytes), size);
  const std::size_t cut = input.find('|');
  const std::string key = cut == std::string::npos ? "nodeId" : input.substr(0, cut);
  std::istringstream stream(cut == std::string::npos ? input : input.substr(cut + 1));
  nkr::tools::INIParserClass ini;
  if (!ini.parse(stream, true)) return 0;
  int integer = 0;
  double real = 0;
  std::string text;
  const bool is_integer = ini.getInteger(key, integer, "default");
  const bool is_real = ini.getDouble(key, real, "default");
  const bool is_text = ini.getString(key, text, "default");
  if ((is_integer || is_real) && !is_text) std::abort();
  const bool hexadecimal = text.find_first_of("xX") != std::string::npos;
  if (is_integer && !hexadecimal && (!is_real || real != static_cast<double>(integer))) std::abort();
  return 0;
}
