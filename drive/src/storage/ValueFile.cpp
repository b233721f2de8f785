#include "storage/ValueFile.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <utility>

namespace tav::drive {
namespace {

constexpr const char* kFirstLine = "tav-drive values 1";
constexpr const char* kLastLine = "end";

/** Closes a file descriptor at the end of a scope. */
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  [[nodiscard]] int get() const { return number_; }

 private:
  int number_;
};

void append_hex(std::string& text, std::uint64_t number, unsigned digits) {
  for (unsigned digit = digits; digit-- > 0;) text += "0123456789ABCDEF"[(number >> (4 * digit)) & 0xFU];
}

std::string text_of(const Values& values) {
  std::string text = std::string(kFirstLine) + '\n';
  for (const auto& [key, bytes] : values) {
    append_hex(text, key >> 8, 4);
    text += ':';
    append_hex(text, key & 0xFFU, 2);
    text += ' ';
    for (const std::uint8_t byte : bytes) append_hex(text, byte, 2);
    text += '\n';
  }
  return text + kLastLine + '\n';
}

bool read_hex(const std::string& text, std::size_t at, std::size_t digits, std::uint32_t& number) {
  if (at + digits > text.size()) return false;
  const char* const begin = text.data() + at;
  const auto [stop, error] = std::from_chars(begin, begin + digits, number, 16);
  return error == std::errc() && stop == begin + digits;
}

/** A line of the file: "6046:02 B80B0000". */
bool read_line(const std::string& line, Values& values) {
  constexpr std::size_t kBytesFrom = 8;
  std::uint32_t index = 0;
  std::uint32_t subindex = 0;
  if (!read_hex(line, 0, 4, index) || !read_hex(line, 5, 2, subindex)) return false;
  if (line.size() < kBytesFrom || (line.size() - kBytesFrom) % 2 != 0) return false;
  Bytes bytes;
  for (std::size_t at = kBytesFrom; at < line.size(); at += 2) {
    std::uint32_t byte = 0;
    if (!read_hex(line, at, 2, byte)) return false;
    bytes.push_back(static_cast<std::uint8_t>(byte));
  }
  values[key_of(static_cast<std::uint16_t>(index), static_cast<std::uint8_t>(subindex))] = std::move(bytes);
  return true;
}

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

ValueFile::ValueFile(std::string path, std::function<void()> step)
    : path_(std::move(path)), step_(std::move(step)) {}

bool ValueFile::read(Values& values) const {
  values.clear();
  if (path_.empty() || ::access(path_.c_str(), F_OK) != 0) return true;
  std::ifstream file(path_);
  std::string line;
  if (!std::getline(file, line) || line != kFirstLine) return false;
  while (std::getline(file, line)) {
    if (line == kLastLine) return true;
    if (!read_line(line, values)) break;
  }
  values.clear();
  return false;
}

bool ValueFile::write(const Values& values) const {
  if (path_.empty()) return true;
  const std::string beside = path_ + ".new";
  return write_beside(text_of(values), beside) && take_name(beside);
}

void ValueFile::step() const {
  if (step_) step_();
}

bool ValueFile::write_beside(const std::string& text, const std::string& beside) const {
  constexpr mode_t kMode = 0644;
  constexpr std::size_t kPiece = 4096;
  step();
  const Descriptor file(::open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kMode));
  if (file.get() < 0) return false;
  for (std::size_t at = 0; at < text.size();) {
    step();
    const ssize_t written = ::write(file.get(), text.data() + at, std::min(kPiece, text.size() - at));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    at += static_cast<std::size_t>(written);
  }
  step();
  return ::fsync(file.get()) == 0;
}

bool ValueFile::take_name(const std::string& beside) const {
  step();
  if (std::rename(beside.c_str(), path_.c_str()) != 0) return false;
  step();
  const Descriptor folder(::open(folder_of(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return folder.get() >= 0 && ::fsync(folder.get()) == 0;
}

}  // namespace tav::drive
