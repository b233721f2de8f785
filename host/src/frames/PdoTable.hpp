#ifndef TAV_HOST_SRC_FRAMES_PDOTABLE_HPP
#define TAV_HOST_SRC_FRAMES_PDOTABLE_HPP

#include <cstdint>
#include <map>
#include <nkr/can/Frame.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <optional>
#include <string>
#include <tav/host/ObjectText.hpp>
#include <vector>

namespace tav::host {

/** A PDO of a node, seen from the node. */
struct NodePdo {
  std::uint8_t node = 0;
  bool transmit = false;
  unsigned number = 0;  ///< from 1

  /** "TPDO1". */
  [[nodiscard]] std::string name() const { return (transmit ? "TPDO" : "RPDO") + std::to_string(number); }
  [[nodiscard]] std::uint16_t communication_index() const;
  [[nodiscard]] std::uint16_t mapping_index() const;
};

/**
 * Which PDO an identifier carries, and which objects a PDO holds. Known from the description: its default
 * mappings, the identifiers that it gives to the one node that it is of, and for every other node those of
 * the predefined connection set (CiA 301, 7.3.5). What a node was heard to hold is preferred to that.
 */
class PdoTable {
 public:
  PdoTable(const nkr::tools::EDSParser& description, std::uint8_t node);

  /** Takes notice of what a node holds; objects that describe no PDO are ignored. */
  void learn(std::uint8_t node, const ObjectBytes& held);
  /** The PDO with that identifier; none when nothing says that it is one. */
  [[nodiscard]] std::optional<NodePdo> find(std::uint32_t identifier) const;
  /** The objects in the frame, by the PDO's mapping; as many as the frame has bytes for. */
  [[nodiscard]] std::vector<ObjectBytes> objects(const NodePdo& pdo, const nkr::can::Frame& frame) const;

 private:
  [[nodiscard]] std::optional<std::uint32_t> held(std::uint8_t node, nkr::tools::ObjectID id) const;
  void take_identifier(const NodePdo& pdo, std::uint32_t cob_id);
  [[nodiscard]] std::optional<NodePdo> predefined(std::uint32_t identifier) const;

  const nkr::tools::EDSParser& description_;
  std::map<std::uint32_t, NodePdo> by_identifier_;
  std::map<std::uint64_t, std::uint32_t> learned_;  ///< by node << 24 | object
};

}  // namespace tav::host

#endif
