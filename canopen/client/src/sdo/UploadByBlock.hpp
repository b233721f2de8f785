#ifndef NKR_CANOPEN_SDO_UPLOADBYBLOCK_HPP
#define NKR_CANOPEN_SDO_UPLOADBYBLOCK_HPP

#include <nkr/error.h>

#include <cstdint>

#include "sdo/Link.hpp"
#include "sdo/Multiplexer.hpp"
#include "sdo/UploadSink.hpp"

namespace nkr::canopen::sdo {

/**
 * Reads an object by block (CiA 301, 7.2.4.3.13 to .15): up to 127 segments for one acknowledgement, with a
 * checksum when the server has it. Lost segments are asked for again. Each sub-block has its time, and so has
 * the whole, in proportion to its size.
 *
 * @param threshold the server may answer as to an ordinary upload when the object has no more bytes
 * @return NKR_OK; NKR_SDO_BLOCK_CRC, NKR_SDO_BLOCK_SEQUENCE and what an ordinary upload answers
 */
nkr_error_t block_upload(Link& link, Multiplexer object, std::uint8_t threshold, UploadSink& sink);

}  // namespace nkr::canopen::sdo

#endif
