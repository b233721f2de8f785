#include <iomanip>
#include <iterator>
#include <sstream>
#include <tavcore/testing/Complaint.hpp>
#include <tavcore/testing/RecordingClient.hpp>
#include <tuple>
#include <type_traits>
#include <utility>

namespace tav::doubles {
namespace {

const char* type_name(const Value& value) {
  static constexpr const char* kNames[] = {"none",   "string", "int64", "int32", "int16",  "int8", "uint64",
                                           "uint32", "uint16", "uint8", "float", "double", "bool"};
  static_assert(std::size(kNames) == std::variant_size_v<Value>);
  return kNames[value.index()];
}

}  // namespace

bool operator==(const Access& a, const Access& b) {
  return std::tie(a.kind, a.node, a.address, a.value) == std::tie(b.kind, b.node, b.address, b.value);
}

std::string text_of(AccessKind kind) {
  switch (kind) {
    case AccessKind::READ:
      return "read";
    case AccessKind::WRITE:
      return "write";
    case AccessKind::SYNC:
      return "sync";
    case AccessKind::NMT_READ:
      return "NMT read";
    case AccessKind::NMT_WRITE:
      return "NMT write";
  }
  return "?";
}

std::string text_of(const Value& value) {
  std::ostringstream text;
  text << type_name(value) << ' ';
  std::visit(
      [&](const auto& content) {
        using T = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          text << '-';
        } else if constexpr (std::is_same_v<T, std::string>) {
          text << std::quoted(content);
        } else if constexpr (std::is_integral_v<T>) {
          text << +content;
        } else {
          text << content;
        }
      },
      value);
  return text.str();
}

std::string text_of(const Access& access) {
  std::ostringstream text;
  text << text_of(access.kind) << " node " << +access.node << " 0x" << std::hex << std::setfill('0')
       << std::setw(8) << access.address << ' ' << text_of(access.value);
  return text.str();
}

void PrintTo(const Access& access, std::ostream* out) {
  *out << text_of(access);
}

void RecordingClient::fail_from(std::size_t nth, nkr_error_t code) {
  failing_from_ = nth;
  failing_from_code_ = code;
}

void RecordingClient::fail_address(std::uint32_t address, nkr_error_t code, std::size_t times) {
  failing_addresses_[address] = {code, times};
}

void RecordingClient::heal() {
  failing_accesses_.clear();
  failing_addresses_.clear();
  failing_from_ = SIZE_MAX;
}

void RecordingClient::clear() {
  heal();
  accesses.clear();
  sync_requests.clear();
}

std::vector<Access> RecordingClient::writes() const {
  std::vector<Access> found;
  for (const Access& access : accesses) {
    if (access.kind == AccessKind::WRITE) found.push_back(access);
  }
  return found;
}

nkr_error_t RecordingClient::sync(const TavIn& request, TavOut& out) {
  sync_requests.push_back(request);
  const nkr_error_t result = record({AccessKind::SYNC, request.nodeId, 0, {}});
  if (result == NKR_OK) out = sync_answer;
  return result;
}

nkr_error_t RecordingClient::getNMTState(const std::uint8_t& nodeId, NMTState& state) {
  const nkr_error_t result = record({AccessKind::NMT_READ, nodeId, 0, std::uint32_t{0}});
  if (result == NKR_OK) {
    state = nmt_state;
    accesses.back().value = static_cast<std::uint32_t>(state);
  }
  return result;
}

nkr_error_t RecordingClient::setNMTState(const std::uint8_t& nodeId, const NMTCommand& command) {
  return record({AccessKind::NMT_WRITE, nodeId, 0, static_cast<std::uint32_t>(command)});
}

Value RecordingClient::next_answer(std::uint32_t address, const Value& none) {
  const auto found = answers_.find(address);
  if (found == answers_.end()) return none;
  std::vector<Value>& values = found->second;
  const Value value = values.front();
  if (values.size() > 1) values.erase(values.begin());
  if (value.index() == none.index()) return value;
  std::ostringstream text;
  text << "address 0x" << std::hex << address << " answers " << text_of(value) << " but is read as "
       << type_name(none);
  complain(text.str());
  return none;
}

nkr_error_t RecordingClient::record(Access access) {
  accesses.push_back(std::move(access));
  return scripted_result(accesses.back().address);
}

nkr_error_t RecordingClient::scripted_result(std::uint32_t address) {
  const auto by_number = failing_accesses_.find(accesses.size());
  if (by_number != failing_accesses_.end()) return by_number->second;
  if (accesses.size() >= failing_from_) return failing_from_code_;
  const auto by_address = failing_addresses_.find(address);
  if (by_address == failing_addresses_.end() || by_address->second.times == 0) return NKR_OK;
  --by_address->second.times;
  return by_address->second.code;
}

}  // namespace tav::doubles
