#ifndef NKR_CANOPEN_SDO_OBJECTTRANSFER_HPP
#define NKR_CANOPEN_SDO_OBJECTTRANSFER_HPP

#include <nkr/error.h>

#include <cstddef>
#include <cstdint>

#include "sdo/Link.hpp"
#include "sdo/Multiplexer.hpp"
#include "sdo/UploadSink.hpp"

namespace nkr::canopen::sdo {

/**
 * Reads an object; by block when it may be long and the server knows that. An upload by block that fails in
 * any way that may be the protocol's, silence included, is made once more in segments.
 * @param block_threshold values of at least so many bytes are worth a block; 0: in segments
 */
nkr_error_t read_object(Link& link, Multiplexer object, UploadSink& sink, std::size_t block_threshold);

/**
 * Writes an object; values of at least `block_threshold` bytes (0: none) by block when the server knows that.
 * Made in segments only when the server refused the block with an abort to its opening: nothing has been
 * written then. Never after silence.
 */
nkr_error_t write_object(Link& link, Multiplexer object, const std::uint8_t* bytes, std::size_t size,
                         std::size_t block_threshold);

}  // namespace nkr::canopen::sdo

#endif
