#include <algorithm>
#include <iomanip>
#include <sstream>
#include <tavcore/testing/AccessMatcher.hpp>

namespace tav::doubles {
namespace {

constexpr std::uint32_t kObject = 0xFFFFFF00;  // index and sub-index of an address

}  // namespace

AccessMatcher::AccessMatcher(AccessKind kind, std::optional<std::uint32_t> address)
    : kind_(kind), address_(address) {}

AccessMatcher AccessMatcher::with(const Value& value) const {
  AccessMatcher more = *this;
  more.value_ = value;
  return more;
}

AccessMatcher AccessMatcher::at_node(std::uint8_t node) const {
  AccessMatcher more = *this;
  more.node_ = node;
  return more;
}

bool AccessMatcher::operator()(const Access& access) const {
  return access.kind == kind_ && (!address_ || ((*address_ ^ access.address) & kObject) == 0) &&
         (!value_ || *value_ == access.value) && (!node_ || *node_ == access.node);
}

std::string AccessMatcher::text() const {
  std::ostringstream text;
  text << text_of(kind_);
  if (node_) text << " node " << +*node_;
  if (address_) text << " 0x" << std::hex << std::setfill('0') << std::setw(8) << *address_;
  if (value_) text << ' ' << text_of(*value_);
  return text.str();
}

AccessMatcher written(std::uint32_t address) {
  return {AccessKind::WRITE, address};
}

AccessMatcher read_from(std::uint32_t address) {
  return {AccessKind::READ, address};
}

AccessMatcher commanded(nkr::canopencore::NMTCommand command) {
  return AccessMatcher(AccessKind::NMT_WRITE, std::nullopt).with(static_cast<std::uint32_t>(command));
}

std::size_t count(const std::vector<Access>& accesses, const AccessMatcher& matcher) {
  return static_cast<std::size_t>(std::count_if(accesses.begin(), accesses.end(), matcher));
}

std::string missing_in(const std::vector<Access>& accesses, const std::vector<AccessMatcher>& expected) {
  auto from = accesses.begin();
  for (const AccessMatcher& matcher : expected) {
    from = std::find_if(from, accesses.end(), matcher);
    if (from == accesses.end()) {
      std::string text = matcher.text() + " is missing in:\n";
      for (const Access& access : accesses) text += "  " + text_of(access) + '\n';
      return text;
    }
    ++from;
  }
  return {};
}

}  // namespace tav::doubles
