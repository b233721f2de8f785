#ifndef TAVCTL_TEXT_VALUES_HPP
#define TAVCTL_TEXT_VALUES_HPP

#include <nkr/canopencore/NMT.hpp>
#include <tav/host/Value.hpp>

#include "cli/Json.hpp"
#include "text/host.hpp"

namespace tavctl {

/** A value as programs are told it. */
[[nodiscard]] inline Json json_of(const Value& value) {
  return std::visit([](const auto& data) { return Json(data); }, value.data);
}

/** An NMT state, always as number (CiA 301 heartbeat code) and name. */
[[nodiscard]] inline Json json_of(nkr::canopencore::NMTState state) {
  return {{"value", static_cast<std::uint32_t>(state)}, {"name", nmt_name(state)}};
}

}  // namespace tavctl

#endif
