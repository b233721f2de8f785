#ifndef NKR_CANOPEN_SDO_DOWNLOADBYBLOCK_HPP
#define NKR_CANOPEN_SDO_DOWNLOADBYBLOCK_HPP

#include <nkr/error.h>

#include <cstddef>
#include <cstdint>

#include "sdo/Link.hpp"
#include "sdo/Multiplexer.hpp"

namespace nkr::canopen::sdo {

/**
 * Writes an object by block (CiA 301, 7.2.4.3.9 to .12): as many segments as the server wants for one
 * acknowledgement, with a checksum when the server has it. Segments that the server missed are sent again,
 * from sequence number 1.
 *
 * @param size at least 1
 * @return NKR_OK; NKR_SDO_BLOCK_SIZE, NKR_SDO_BLOCK_SEQUENCE and what an ordinary download answers
 */
nkr_error_t block_download(Link& link, Multiplexer object, const std::uint8_t* bytes, std::size_t size);

}  // namespace nkr::canopen::sdo

#endif
