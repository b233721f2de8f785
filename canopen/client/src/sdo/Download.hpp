#ifndef NKR_CANOPEN_SDO_DOWNLOAD_HPP
#define NKR_CANOPEN_SDO_DOWNLOAD_HPP

#include <nkr/error.h>

#include <cstddef>
#include <cstdint>

#include "sdo/Link.hpp"
#include "sdo/Multiplexer.hpp"

namespace nkr::canopen::sdo {

/**
 * Writes an object: 1 to 4 bytes expedited, else in segments (CiA 301, 7.2.4.3.3 and .4). Sent once: a
 * download whose answer is missing may have taken effect. A server that does not understand the request may
 * be stuck in an earlier transfer: that is aborted, so that the next request finds it ready.
 * @return NKR_OK; NKR_SDO_TOGGLE_BIT, NKR_SDO_TIMED_OUT; what the server aborted with; what the bus refused
 * with
 */
nkr_error_t download(Link& link, Multiplexer object, const std::uint8_t* bytes, std::size_t size);

}  // namespace nkr::canopen::sdo

#endif
