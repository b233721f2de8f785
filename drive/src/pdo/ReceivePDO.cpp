#include "pdo/ReceivePDO.hpp"

namespace tav::drive {
namespace {

// Emergency error codes (CiA 301, table 26).
constexpr std::uint16_t kTooShort = 0x8210;
constexpr std::uint16_t kTooLong = 0x8220;
constexpr std::uint16_t kTimedOut = 0x8250;

}  // namespace

ReceivePDO::ReceivePDO(Context& context, Errors& errors, std::uint16_t number)
    : context_(context),
      errors_(errors),
      number_(number),
      parameters_(context, PDOParameters::Direction::RECEIVE, number) {
  parameters_.when_changed([this] { start_over(); });
}

void ReceivePDO::start_over() {
  parameters_.take();
  waiting_.reset();
  deadline_ = Time::max();
  for (const std::uint16_t code : {kTooShort, kTooLong, kTimedOut}) clear(code);
}

VendorBytes ReceivePDO::vendor_bytes() const {
  return {static_cast<std::uint8_t>(number_ + 1), static_cast<std::uint8_t>((number_ + 1) >> 8)};
}

void ReceivePDO::raise(std::uint16_t code) {
  errors_.raise(code, vendor_bytes(), Errors::Ends::WITH_ITS_CAUSE, true);
}

void ReceivePDO::clear(std::uint16_t code) {
  errors_.clear(code, vendor_bytes());
}

void ReceivePDO::receive(const nkr::can::Frame& frame) {
  if (!parameters_.valid() || frame.id != parameters_.identifier() || parameters_.objects().empty()) return;
  if (frame.size < parameters_.size()) raise(kTooShort);
  if (frame.size > parameters_.size()) raise(kTooLong);
  if (frame.size >= parameters_.size()) clear(kTooShort);
  if (frame.size <= parameters_.size()) clear(kTooLong);
  if (frame.size < parameters_.size()) return;
  clear(kTimedOut);
  const Duration timer = parameters_.event_timer();
  deadline_ = timer == Duration::zero() ? Time::max() : context_.now + timer;
  if (parameters_.synchronous()) {
    waiting_ = frame;
  } else {
    apply(frame);
  }
}

void ReceivePDO::sync() {
  if (!waiting_) return;
  const nkr::can::Frame frame = *waiting_;
  waiting_.reset();
  apply(frame);
}

void ReceivePDO::apply(const nkr::can::Frame& frame) {
  auto byte = frame.data.begin();
  for (Object* object : parameters_.objects()) {
    const auto end = byte + static_cast<std::ptrdiff_t>(object->size);
    value_.assign(byte, end);
    byte = end;
    ObjectDictionary::write(*object, value_);
  }
}

void ReceivePDO::run() {
  if (context_.now < deadline_) return;
  deadline_ = Time::max();
  raise(kTimedOut);
}

}  // namespace tav::drive
