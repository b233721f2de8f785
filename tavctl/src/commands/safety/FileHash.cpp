#include "commands/safety/FileHash.hpp"

#include <openssl/evp.h>

#include <array>
#include <fstream>
#include <memory>

#include "cli/Failure.hpp"

namespace tavctl {

namespace {

std::string hexadecimal(const unsigned char* bytes, unsigned size) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (unsigned i = 0; i < size; ++i) {
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 0x0F];
  }
  return text;
}

}  // namespace

std::string sha256_of_file(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> digest(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
  bool good = stream.is_open() && digest && EVP_DigestInit_ex(digest.get(), EVP_sha256(), nullptr) == 1;
  std::array<char, 4096> block{};
  while (good && stream) {
    stream.read(block.data(), static_cast<std::streamsize>(block.size()));
    good = EVP_DigestUpdate(digest.get(), block.data(), static_cast<std::size_t>(stream.gcount())) == 1;
  }
  std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
  unsigned size = 0;
  if (!good || EVP_DigestFinal_ex(digest.get(), bytes.data(), &size) != 1) {
    throw Failure(ExitCode::CONFIGURATION, "cannot compute the SHA-256 of " + path);
  }
  return hexadecimal(bytes.data(), size);
}

}  // namespace tavctl
