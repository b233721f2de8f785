#include "dictionary/Object.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tav::drive {

void Object::when_written(std::function<void()> action) {
  if (!written) {
    written = std::move(action);
    return;
  }
  written = [first = std::move(written), second = std::move(action)] {
    first();
    second();
  };
}

void Object::refuse_when(std::function<Abort(const Bytes&)> reason) {
  if (!refuses) {
    refuses = std::move(reason);
    return;
  }
  refuses = [first = std::move(refuses), second = std::move(reason)](const Bytes& bytes) {
    const Abort abort = first(bytes);
    return abort == Abort::NONE ? second(bytes) : abort;
  };
}

std::uint64_t unsigned_of(const Bytes& bytes) {
  std::uint64_t number = 0;
  for (std::size_t i = std::min(bytes.size(), sizeof number); i-- > 0;) number = (number << 8) | bytes[i];
  return number;
}

std::int64_t signed_of(const Bytes& bytes) {
  std::uint64_t number = unsigned_of(bytes);
  const std::size_t bits = 8 * bytes.size();
  if (bits > 0 && bits < 64 && (number >> (bits - 1)) != 0) number |= ~std::uint64_t{0} << bits;
  std::int64_t result = 0;
  std::memcpy(&result, &number, sizeof result);
  return result;
}

void put_number(Bytes& bytes, std::uint64_t number) {
  for (std::uint8_t& byte : bytes) {
    byte = static_cast<std::uint8_t>(number);
    number >>= 8;
  }
}

namespace {

long double real_of(const Bytes& bytes) {
  if (bytes.size() == sizeof(float)) {
    const auto bits = static_cast<std::uint32_t>(unsigned_of(bytes));
    float real = 0;
    std::memcpy(&real, &bits, sizeof real);
    return static_cast<long double>(real);
  }
  const std::uint64_t bits = unsigned_of(bytes);
  double real = 0;
  std::memcpy(&real, &bits, sizeof real);
  return static_cast<long double>(real);
}

}  // namespace

long double number_in(const Object& object, const Bytes& bytes) {
  switch (object.kind) {
    case Kind::UNSIGNED:
      return static_cast<long double>(unsigned_of(bytes));
    case Kind::SIGNED:
      return static_cast<long double>(signed_of(bytes));
    case Kind::REAL:
      return real_of(bytes);
    case Kind::TEXT:
      break;
  }
  return 0;
}

}  // namespace tav::drive
