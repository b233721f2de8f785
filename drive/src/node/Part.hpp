#ifndef TAV_DRIVE_SRC_NODE_PART_HPP
#define TAV_DRIVE_SRC_NODE_PART_HPP

#include <cstdint>
#include <functional>
#include <nkr/can/Frame.hpp>
#include <optional>
#include <string>
#include <tav/drive/DriveStates.hpp>
#include <tav/drive/Settings.hpp>
#include <utility>

#include "dictionary/ObjectDictionary.hpp"

namespace tav::drive {

/** How much of the drive starts anew: all that it knows, or what the NMT command of that name resets. */
enum class Reset : std::uint8_t { POWER_ON, NODE, COMMUNICATION };

/** An access by SDO, when it begins. */
struct Access {
  std::uint16_t index;
  std::uint8_t subindex;
  bool write;
  bool single;  ///< a write that is done with one request
  std::uint32_t request_id;
  std::uint32_t reply_id;
};

/** What a server is to do with an access. */
struct Admission {
  bool served = true;
  std::optional<Abort> refused;  ///< with which abort
  bool in_segments = false;      ///< a short value is uploaded in segments too
};

/** What becomes of a frame that passes the drive's end of the bus. */
struct Passage {
  nkr::can::Frame frame;
  int copies = 1;
  Duration delay{0};
};

/** What all parts of one drive share. */
struct Context {
  Settings settings;
  ObjectDictionary dictionary;
  Time now{};
  std::uint8_t node_id = 0;
  NMTState nmt = NMTState::INITIALISING;
  std::function<void(const nkr::can::Frame&)> transmit;
  std::function<void(const nkr::can::Frame&)> reply;  ///< the same for SDO replies, which take their time
  Duration work{0};                                   ///< what the reply to come takes besides
  std::function<Admission(const Access&)> admit;      ///< asked before an access is served
  /** Told what happens, for whom asks the drive. */
  std::function<void(Event::Kind kind, std::uint32_t code, const std::string& text)> report;
  /** What happens now is brought about by this, for people. */
  std::string cause{};
  /** What becomes of a frame on its way out of the drive, or into it; empty: nothing. */
  std::function<Passage(const nkr::can::Frame&)> pass{};
  bool on_bus = true;  ///< false while the bus is off: what must not be lost waits
};

/** What happens while it lives is brought about by that. */
class Because {
 public:
  Because(Context& context, std::string cause) : context_(context), before_(std::move(context.cause)) {
    context.cause = std::move(cause);
  }
  ~Because() { context_.cause = std::move(before_); }
  Because(const Because&) = delete;
  Because& operator=(const Because&) = delete;

 private:
  Context& context_;
  std::string before_;
};

/** One capability of the drive. All is called under the drive's lock, one thing at a time. */
class Part {
 public:
  virtual ~Part() = default;
  Part() = default;
  Part(const Part&) = delete;
  Part& operator=(const Part&) = delete;

  /** The values of the dictionary are those of a device that was just switched on: start from them. */
  virtual void reset(Reset /*kind*/) {}
  /** A data frame with an 11-bit identifier came. */
  virtual void receive(const nkr::can::Frame& /*frame*/) {}
  /** The NMT state is another one than before. */
  virtual void nmt_changed(NMTState /*before*/) {}
  /** When run() is wanted next; Time::max() for never. */
  [[nodiscard]] virtual Time next_due() const { return Time::max(); }
  /** Does what is due at context.now. Afterwards next_due() lies later. */
  virtual void run() {}
};

}  // namespace tav::drive

#endif
