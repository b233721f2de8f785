#ifndef TAVCTL_TRACE_FRAMEDECODER_HPP
#define TAVCTL_TRACE_FRAMEDECODER_HPP

#include <cstdint>
#include <nkr/can/Frame.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <optional>
#include <string>
#include <vector>

#include "trace/ObjectText.hpp"
#include "trace/PdoTable.hpp"
#include "trace/SdoDecoder.hpp"

namespace tavctl {

/** What service of CiA 301 a frame belongs to. */
enum class FrameKind { NMT, SYNC, EMCY, TIME, SRDO, PDO, SDO, HEARTBEAT, LSS, ERROR, OTHER };

/** What --kind calls them: "nmt", "sync" ... */
[[nodiscard]] std::vector<std::string> frame_kind_names();
[[nodiscard]] std::string to_string(FrameKind kind);

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
class FrameDecoder {
 public:
  /** `node` is the one that the description is of: its PDOs may have other identifiers than the predefined.
   */
  FrameDecoder(const nkr::tools::EDSParser& description, std::uint8_t node)
      : objects_(description), sdo_(objects_), pdos_(description, node) {}
  FrameDecoder(const FrameDecoder&) = delete;
  FrameDecoder& operator=(const FrameDecoder&) = delete;

  [[nodiscard]] FrameMeaning decode(const nkr::can::Frame& frame);
  [[nodiscard]] Json json(const FrameMeaning& meaning) const;

 private:
  [[nodiscard]] FrameMeaning sdo_meaning(const nkr::can::Frame& frame, std::uint8_t node);
  [[nodiscard]] FrameMeaning pdo_meaning(const NodePdo& pdo, const nkr::can::Frame& frame) const;

  ObjectText objects_;
  SdoDecoder sdo_;
  PdoTable pdos_;
};

}  // namespace tavctl

#endif
