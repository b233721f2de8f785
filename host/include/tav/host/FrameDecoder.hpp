#ifndef TAV_HOST_FRAMEDECODER_HPP
#define TAV_HOST_FRAMEDECODER_HPP

#include <nkr/export.h>

#include <cstdint>
#include <memory>
#include <nkr/can/Frame.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <optional>
#include <string>
#include <tav/host/ObjectText.hpp>
#include <vector>

namespace tav::host {

/** What service of CiA 301 a frame belongs to. */
enum class FrameKind { NMT, SYNC, EMCY, TIME, SRDO, PDO, SDO, HEARTBEAT, LSS, ERROR, OTHER };

/** What --kind calls them: "nmt", "sync" ... */
[[nodiscard]] NKR_EXPORT std::vector<std::string> frame_kind_names();
[[nodiscard]] NKR_EXPORT std::string to_string(FrameKind kind);

/** What a frame means, with the description's names. */
struct FrameMeaning {
  FrameKind kind = FrameKind::OTHER;
  std::uint8_t node = 0;  ///< whom it is from or to; 0: all, or not to be told
  std::string title;      ///< "TPDO1 node 10"
  std::string text;
  std::vector<ObjectBytes> objects;  ///< the values that it gives
};

/**
 * Tells what CAN frames mean by the predefined connection set (CiA 301, 7.3.5) and a device description.
 * Follows SDO transfers, so frames are to be given in order. What a node is heard to hold of its PDO
 * parameters is used for the PDOs that come later.
 */
class NKR_EXPORT FrameDecoder {
 public:
  /** `node` is the one that the description is of: its PDOs may have other identifiers than the predefined.
   * The description must outlive the decoder. */
  FrameDecoder(const nkr::tools::EDSParser& description, std::uint8_t node);
  ~FrameDecoder();
  FrameDecoder(const FrameDecoder&) = delete;
  FrameDecoder& operator=(const FrameDecoder&) = delete;

  [[nodiscard]] FrameMeaning decode(const nkr::can::Frame& frame);
  /** How the objects of a meaning are named and their values written. */
  [[nodiscard]] const ObjectText& objects() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tav::host

#endif
