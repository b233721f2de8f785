#ifndef TAVCTL_TRACE_FRAMEDECODER_HPP
#define TAVCTL_TRACE_FRAMEDECODER_HPP

#include <cstdint>
#include <map>
#include <nkr/can/Frame.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <string>
#include <vector>

namespace tavctl {

/** What a frame means: kind ("SDO", "NMT", ...) and a sentence with the description's names. */
struct FrameMeaning {
  std::string kind;
  std::string text;
};

/**
 * Tells what CAN frames mean by the predefined connection set (CiA 301) and a device description. Follows
 * segmented SDO transfers, so frames are to be given in order. PDOs are read by the description's default
 * mapping.
 */
class FrameDecoder {
 public:
  explicit FrameDecoder(const nkr::tools::EDSParser& description) : description_(description) {}

  [[nodiscard]] FrameMeaning decode(const nkr::can::Frame& frame);

 private:
  /** The SDO transfer that a node's server is in. */
  struct Transfer {
    nkr::tools::ObjectID object;
    std::vector<std::uint8_t> bytes;  ///< of the segments so far
    bool segmented = false;
  };

  [[nodiscard]] std::string request_text(std::uint8_t node, const nkr::can::Frame& frame);
  [[nodiscard]] std::string reply_text(std::uint8_t node, const nkr::can::Frame& frame);
  [[nodiscard]] std::string segment_text(Transfer& transfer, const nkr::can::Frame& frame) const;
  [[nodiscard]] std::string pdo_text(std::uint16_t mapping_index, const nkr::can::Frame& frame) const;
  [[nodiscard]] std::string name_of(nkr::tools::ObjectID id) const;
  [[nodiscard]] std::string value_text(nkr::tools::ObjectID id, const std::vector<std::uint8_t>& bytes) const;

  const nkr::tools::EDSParser& description_;
  std::map<std::uint8_t, Transfer> transfers_;
};

}  // namespace tavctl

#endif
