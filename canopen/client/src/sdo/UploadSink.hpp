#ifndef NKR_CANOPEN_SDO_UPLOADSINK_HPP
#define NKR_CANOPEN_SDO_UPLOADSINK_HPP

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace nkr::canopen::sdo {

/** Where the bytes of an upload go. */
class UploadSink {
 public:
  virtual ~UploadSink() = default;
  UploadSink() = default;
  UploadSink(const UploadSink&) = delete;
  UploadSink& operator=(const UploadSink&) = delete;

  /** Takes all of the bytes, or none and answers false: the object is larger than what is wanted. */
  virtual bool append(const std::uint8_t* bytes, std::size_t size) = 0;
  /** Takes an expedited reply that does not say how many of its bytes are data. */
  virtual void append_unsized(const std::uint8_t* bytes, std::size_t size) = 0;
  /** Forgets what it took: the transfer starts anew. */
  virtual void clear() = 0;
};

/** The bytes of a number of a known width. */
class NumberSink final : public UploadSink {
 public:
  static constexpr std::size_t kWidest = 8;

  /** `width`: bytes of the wanted type, 1 to 8. */
  explicit NumberSink(std::size_t width) : width_(width) {}

  bool append(const std::uint8_t* bytes, std::size_t size) override {
    if (size > width_ - size_) return false;
    for (std::size_t i = 0; i < size; ++i) bytes_[size_++] = bytes[i];
    return true;
  }
  /** A number without a stated size has the type's own. */
  void append_unsized(const std::uint8_t* bytes, std::size_t size) override {
    append(bytes, std::min(size, width_));
  }
  void clear() override { size_ = 0; }

  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] const std::array<std::uint8_t, kWidest>& bytes() const { return bytes_; }

 private:
  const std::size_t width_;
  std::size_t size_ = 0;
  std::array<std::uint8_t, kWidest> bytes_{};
};

/** Bytes of any number, up to a bound that keeps a runaway server from filling the memory. */
class BytesSink final : public UploadSink {
 public:
  static constexpr std::size_t kBound = std::size_t{64} * 1024 * 1024;

  bool append(const std::uint8_t* bytes, std::size_t size) override {
    if (size > kBound - bytes_.size()) return false;
    bytes_.insert(bytes_.end(), bytes, bytes + size);
    return true;
  }
  void append_unsized(const std::uint8_t* bytes, std::size_t size) override {
    append(bytes, size);
    size_stated_ = false;
  }
  void clear() override {
    bytes_.clear();
    size_stated_ = true;
  }

  [[nodiscard]] bool size_stated() const { return size_stated_; }
  std::vector<std::uint8_t>& bytes() { return bytes_; }

 private:
  std::vector<std::uint8_t> bytes_;
  bool size_stated_ = true;
};

}  // namespace nkr::canopen::sdo

#endif
