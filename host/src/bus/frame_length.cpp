#include <cstdint>
#include <tav/host/frame_length.hpp>

namespace tav::host {

namespace {

/** Counts the bits from start of frame to checksum, with the stuff bits, and computes the checksum. */
class StuffedBits {
 public:
  void put(unsigned bit) {
    put_uncounted(bit);
    const unsigned next = bit ^ (crc_ >> 14U & 1U);
    crc_ = crc_ << 1U & 0x7FFFU;
    if (next != 0) crc_ ^= kPolynomial;
  }
  void put(std::uint32_t value, unsigned width) {
    while (width-- > 0) put(value >> width & 1U);
  }
  /** The checksum is stuffed too, and goes into no checksum. */
  void put_checksum() {
    for (unsigned i = 15; i-- > 0;) put_uncounted(crc_ >> i & 1U);
  }
  [[nodiscard]] unsigned count() const { return count_; }

 private:
  static constexpr unsigned kPolynomial = 0x4599;
  static constexpr unsigned kLongestRun = 5;

  void put_uncounted(unsigned bit) {
    ++count_;
    run_ = bit == last_ ? run_ + 1 : 1;
    last_ = bit;
    if (run_ != kLongestRun) return;
    ++count_;  // a stuff bit of the other value begins the next run
    last_ = 1 - bit;
    run_ = 1;
  }

  unsigned crc_ = 0;
  unsigned count_ = 0;
  unsigned run_ = 0;
  unsigned last_ = 2;  // neither
};

}  // namespace

unsigned bits_on_bus(const nkr::can::Frame& frame) {
  // Checksum delimiter, acknowledgement and its delimiter, end of frame, intermission: never stuffed.
  constexpr unsigned kTail = 1 + 2 + 7 + 3;
  if (frame.error) return 0;
  StuffedBits bits;
  const unsigned remote = frame.remote ? 1 : 0;
  bits.put(0U);  // start of frame
  if (frame.extended) {
    bits.put(frame.id >> 18U, 11);
    bits.put(3U, 2);  // substitute remote request, identifier extension
    bits.put(frame.id & 0x3FFFFU, 18);
    bits.put(remote);
    bits.put(0U, 2);  // reserved
  } else {
    bits.put(frame.id, 11);
    bits.put(remote);
    bits.put(0U, 2);  // identifier extension, reserved
  }
  bits.put(frame.size, 4);
  for (unsigned i = 0; !frame.remote && i < frame.size; ++i) bits.put(frame.data[i], 8);
  bits.put_checksum();
  return bits.count() + kTail;
}

}  // namespace tav::host
