#ifndef TAVCTL_TEXT_VALUES_HPP
#define TAVCTL_TEXT_VALUES_HPP

#include <tav/host/Value.hpp>

#include "cli/Json.hpp"
#include "text/host.hpp"

namespace tavctl {

/** A value as programs are told it. */
[[nodiscard]] inline Json json_of(const Value& value) {
  return std::visit([](const auto& data) { return Json(data); }, value.data);
}

}  // namespace tavctl

#endif
