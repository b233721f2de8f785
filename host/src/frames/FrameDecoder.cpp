#include <algorithm>
#include <tav/host/FrameDecoder.hpp>
#include <tav/host/emergencies.hpp>

#include "PdoTable.hpp"
#include "SdoDecoder.hpp"

namespace tav::host {

using nkr::can::Frame;

namespace {

struct KindName {
  FrameKind kind;
  const char* name;
};
constexpr KindName kKindNames[] = {
    {FrameKind::NMT, "nmt"},     {FrameKind::SYNC, "sync"},           {FrameKind::EMCY, "emcy"},
    {FrameKind::TIME, "time"},   {FrameKind::SRDO, "srdo"},           {FrameKind::PDO, "pdo"},
    {FrameKind::SDO, "sdo"},     {FrameKind::HEARTBEAT, "heartbeat"}, {FrameKind::LSS, "lss"},
    {FrameKind::ERROR, "error"}, {FrameKind::OTHER, "other"}};

constexpr std::uint32_t kNodeMask = 0x7F;
constexpr std::uint32_t kEmergency = 0x080;
constexpr std::uint32_t kSdoReply = 0x580;
constexpr std::uint32_t kSdoRequest = 0x600;
constexpr std::uint32_t kErrorControl = 0x700;

std::string nmt_command_text(const Frame& frame) {
  const std::string whom = frame.data[1] == 0 ? "all nodes" : "node " + std::to_string(frame.data[1]);
  switch (frame.data[0]) {
    case 1:
      return "start " + whom;
    case 2:
      return "stop " + whom;
    case 128:
      return "enter pre-operational: " + whom;
    case 129:
      return "reset " + whom;
    case 130:
      return "reset communication of " + whom;
    default:
      return "unknown command " + std::to_string(frame.data[0]) + " to " + whom;
  }
}

std::string error_control_text(const Frame& frame) {
  if (frame.remote) return "node guarding: asked for its state";
  switch (frame.data[0] & 0x7FU) {  // bit 7 toggles in the answers to node guarding
    case 0:
      return "boot-up";
    case 4:
      return "stopped";
    case 5:
      return "operational";
    case 127:
      return "pre-operational";
    default:
      return "unknown state " + std::to_string(frame.data[0]);
  }
}

std::string sync_text(const Frame& frame) {
  return frame.size == 1 ? "counter " + std::to_string(frame.data[0]) : "";
}

std::string emergency_text(std::uint8_t node, const Frame& frame, const nkr::tools::EDSParser& description) {
  nkr::canopen::Emergency emergency;
  emergency.node = node;
  emergency.code = static_cast<std::uint16_t>(frame.data[0] | frame.data[1] << 8);
  emergency.error_register = frame.data[2];
  std::copy(frame.data.begin() + 3, frame.data.end(), emergency.vendor_data.begin());
  return emergency_line(emergency, description);
}

/** What the identifier alone decides. */
FrameMeaning meaning_without_node(const Frame& frame) {
  constexpr std::uint32_t kFirstSrdo = 0x101;  // EN 50325-5
  constexpr std::uint32_t kLastSrdo = 0x180;
  if (frame.error) return {FrameKind::ERROR, 0, "error", "error frame of the CAN controller", {}};
  if (frame.extended) return {FrameKind::OTHER, 0, "?", "29-bit identifier", {}};
  if (frame.id == 0x000) return {FrameKind::NMT, frame.data[1], "NMT", nmt_command_text(frame), {}};
  if (frame.id == 0x080) return {FrameKind::SYNC, 0, "SYNC", sync_text(frame), {}};
  if (frame.id == 0x100) return {FrameKind::TIME, 0, "TIME", "", {}};
  if (frame.id >= kFirstSrdo && frame.id <= kLastSrdo) {
    const bool complement = (frame.id - kFirstSrdo) % 2 == 1;
    return {FrameKind::SRDO, 0, "SRDO", complement ? "complement" : "safety data", {}};
  }
  if (frame.id == 0x7E4 || frame.id == 0x7E5) {
    return {FrameKind::LSS, 0, "LSS", frame.id == 0x7E5 ? "request" : "answer", {}};
  }
  return {FrameKind::OTHER, 0, "?", "", {}};
}

std::string title_of(const char* service, std::uint8_t node) {
  return std::string(service) + " node " + std::to_string(node);
}

}  // namespace

std::vector<std::string> frame_kind_names() {
  std::vector<std::string> names;
  for (const KindName& row : kKindNames) names.emplace_back(row.name);
  return names;
}

std::string to_string(FrameKind kind) {
  for (const KindName& row : kKindNames) {
    if (row.kind == kind) return row.name;
  }
  return "other";
}

struct FrameDecoder::Impl {
  Impl(const nkr::tools::EDSParser& description, std::uint8_t node)
      : objects(description), sdo(objects), pdos(description, node) {}

  [[nodiscard]] FrameMeaning decode(const Frame& frame);
  [[nodiscard]] FrameMeaning sdo_meaning(const Frame& frame, std::uint8_t node);
  [[nodiscard]] FrameMeaning pdo_meaning(const NodePdo& pdo, const Frame& frame) const;

  ObjectText objects;
  SdoDecoder sdo;
  PdoTable pdos;
};

FrameMeaning FrameDecoder::Impl::sdo_meaning(const Frame& frame, std::uint8_t node) {
  const bool request = (frame.id & ~kNodeMask) == kSdoRequest;
  const SdoDecoder::Meaning meaning = request ? sdo.request(node, frame) : sdo.reply(node, frame);
  if (meaning.agreed) pdos.learn(node, *meaning.agreed);
  FrameMeaning result{FrameKind::SDO, node, title_of(request ? "SDO >" : "SDO <", node), meaning.text, {}};
  if (meaning.stated) result.objects.push_back(*meaning.stated);
  return result;
}

FrameMeaning FrameDecoder::Impl::pdo_meaning(const NodePdo& pdo, const Frame& frame) const {
  FrameMeaning meaning{FrameKind::PDO, pdo.node, title_of(pdo.name().c_str(), pdo.node), "", {}};
  if (frame.remote) {
    meaning.text = "asked for";
    return meaning;
  }
  meaning.objects = pdos.objects(pdo, frame);
  for (const ObjectBytes& object : meaning.objects) {
    meaning.text +=
        (meaning.text.empty() ? "" : "; ") + objects.name(object.object) + " = " + objects.value(object);
  }
  if (meaning.objects.empty()) meaning.text = "no known mapping";
  return meaning;
}

FrameMeaning FrameDecoder::Impl::decode(const Frame& frame) {
  if (frame.error || frame.extended) return meaning_without_node(frame);
  const auto node = static_cast<std::uint8_t>(frame.id & kNodeMask);
  const std::uint32_t function = frame.id & ~kNodeMask;
  // The identifiers that CiA 301 reserves for other services carry no PDO, whatever a node claims.
  if (node != 0 && (function == kSdoRequest || function == kSdoReply)) return sdo_meaning(frame, node);
  if (node != 0 && function == kErrorControl) {
    return {FrameKind::HEARTBEAT, node, title_of("HB", node), error_control_text(frame), {}};
  }
  if (node != 0 && function == kEmergency) {
    return {FrameKind::EMCY,
            node,
            title_of("EMCY", node),
            emergency_text(node, frame, objects.description()),
            {}};
  }
  const std::optional<NodePdo> pdo = pdos.find(frame.id);
  return pdo ? pdo_meaning(*pdo, frame) : meaning_without_node(frame);
}

FrameDecoder::FrameDecoder(const nkr::tools::EDSParser& description, std::uint8_t node)
    : impl_(std::make_unique<Impl>(description, node)) {}
FrameDecoder::~FrameDecoder() = default;

FrameMeaning FrameDecoder::decode(const Frame& frame) {
  return impl_->decode(frame);
}

const ObjectText& FrameDecoder::objects() const {
  return impl_->objects;
}

}  // namespace tav::host
