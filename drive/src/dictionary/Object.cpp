#include "dictionary/Object.hpp"

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
