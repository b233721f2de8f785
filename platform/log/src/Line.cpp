#include "Line.hpp"

#include <nkr/log_decode.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <ctime>

namespace nkr::log {

void Line::append(std::string_view text) {
  if (cut_) return;
  const std::size_t size = std::min(text.size(), kCapacity - size_);
  std::memcpy(text_.data() + size_, text.data(), size);
  size_ += size;
  if (size == text.size()) return;
  cut_ = true;
  std::memcpy(text_.data() + size_, kCutMark.data(), kCutMark.size());
  size_ += kCutMark.size();
}

void Line::append_escaped(std::string_view text) {
  constexpr char kHex[] = "0123456789abcdef";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) {
      append({&c, 1});
    } else {
      const char escape[] = {'\\', 'x', kHex[byte >> 4], kHex[byte & 0xF]};
      append({escape, sizeof escape});
    }
  }
}

void Line::append_number(std::uint64_t number, std::size_t width) {
  char digits[20];
  const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  const auto size = static_cast<std::size_t>(end - digits);
  for (std::size_t i = size; i < width; ++i) append("0");
  append({digits, size});
}

void Line::finish() {
  text_[size_++] = '\n';
}

namespace {

/** What stands between two fields: a number belongs to the text before it, the last text is the message. */
std::string_view separator(int kind, std::size_t position, bool last) {
  if (position == 0) return "";
  if (kind == NKR_LOG_FIELD_UINT && position == 1) return ":";
  return last ? ": " : " ";
}

}  // namespace

void append_fields(Line& line, const std::uint8_t* encoded, std::size_t size) {
  nkr_log_reader_t reader;
  if (nkr_log_read_begin(&reader, encoded, size) != NKR_OK) return;
  nkr_log_field_t field;
  nkr_error_t result = nkr_log_read_next(&reader, &field);
  for (std::size_t position = 0; result == NKR_OK; ++position) {
    nkr_log_field_t following;
    result = nkr_log_read_next(&reader, &following);
    line.append(separator(field.kind, position, result != NKR_OK));
    if (field.kind == NKR_LOG_FIELD_UINT) {
      line.append_number(field.number);
    } else {
      line.append_escaped({field.text, field.text_size});
    }
    field = following;
  }
}

void append_level(Line& line, std::uint32_t level) {
  switch (level) {
    case NKR_LOG_FAILURE:
      return line.append("failure");
    case NKR_LOG_WARNING:
      return line.append("warning");
    case NKR_LOG_NOTICE:
      return line.append("notice");
    case NKR_LOG_TRACE:
      return line.append("trace");
    default:
      line.append("level ");
      return line.append_number(level);
  }
}

void append_time(Line& line, std::int64_t time_ns) {
  constexpr std::int64_t kNanosecondsPerSecond = 1000000000;
  constexpr std::int64_t kNanosecondsPerMillisecond = 1000000;
  const auto seconds = static_cast<std::time_t>(time_ns / kNanosecondsPerSecond);
  std::tm local{};
  localtime_r(&seconds, &local);
  char text[32];
  line.append({text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S.", &local)});
  line.append_number(static_cast<std::uint64_t>(time_ns % kNanosecondsPerSecond / kNanosecondsPerMillisecond),
                     3);
}

}  // namespace nkr::log
