#ifndef NKR_CAN_SYSTEM_WITHOUT_EXCEPTIONS_HPP
#define NKR_CAN_SYSTEM_WITHOUT_EXCEPTIONS_HPP

#include <nkr/error.h>

#include <exception>
#include <memory>

namespace nkr::can {

/** What `make` returns; null and NKR_CAN_NO_RESOURCES where memory or another resource is at its end. */
template <class Make>
auto without_exceptions(nkr_error_t& result, const Make& make) -> decltype(make()) {
  try {
    return make();
  } catch (const std::exception&) {
    result = NKR_CAN_NO_RESOURCES;
    return nullptr;
  }
}

}  // namespace nkr::can

#endif
