#include <tav/drive/BusModel.hpp>

namespace tav::drive {
namespace {

/** Counts the bits from the start of frame on, those that are inserted among them, and makes the checksum. */
class BitStream {
 public:
  void put(unsigned value, int bits) {
    for (int bit = bits - 1; bit >= 0; --bit) put_bit((value >> bit) & 1U, true);
  }
  void put_checksum() {
    const unsigned crc = crc_;
    for (int bit = 14; bit >= 0; --bit) put_bit((crc >> bit) & 1U, false);
  }
  [[nodiscard]] std::uint16_t crc() const { return static_cast<std::uint16_t>(crc_); }
  [[nodiscard]] unsigned stuffed() const { return stuffed_; }

 private:
  void put_bit(unsigned bit, bool counts) {
    if (counts) {
      const bool differs = bit != ((crc_ >> 14) & 1U);
      crc_ = (crc_ << 1) & 0x7FFFU;
      if (differs) crc_ ^= 0x4599U;
    }
    run_ = bit == last_ ? run_ + 1 : 1;
    last_ = bit;
    if (run_ == 5) {
      // The inserted bit is the first of the next run.
      ++stuffed_;
      last_ ^= 1U;
      run_ = 1;
    }
  }

  unsigned crc_ = 0;
  unsigned stuffed_ = 0;
  unsigned last_ = 2;
  int run_ = 0;
};

}  // namespace

FrameBits frame_bits(const nkr::can::Frame& frame) {
  constexpr unsigned kUnstuffed = 47;
  constexpr int kIdentifier = 11;
  BitStream stream;
  stream.put(0, 1);  // start of frame
  stream.put(frame.id & 0x7FFU, kIdentifier);
  stream.put(frame.remote ? 1U : 0U, 1);
  stream.put(0, 2);  // identifier extension and reserved bit
  stream.put(frame.size, 4);
  const unsigned data = frame.remote ? 0U : frame.size;
  for (unsigned i = 0; i < data; ++i) stream.put(frame.data[i], 8);
  FrameBits bits;
  bits.crc = stream.crc();
  stream.put_checksum();
  bits.stuffed = stream.stuffed();
  bits.bits = kUnstuffed + 8 * data + bits.stuffed;
  return bits;
}

}  // namespace tav::drive
