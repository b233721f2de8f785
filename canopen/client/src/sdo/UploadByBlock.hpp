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
 * checksum when the server has it. Lost segments are asked for again.
 *
 * @param threshold the server may answer as to an ordinary upload when the object has no more bytes
 * @param refused set when the server knows no block upload; nothing was transferred then
 * @return NKR_OK; NKR_SDO_BLOCK_CRC, NKR_SDO_BLOCK_SEQUENCE and what an ordinary upload answers
 */
nkr_error_t block_upload(Link& link, Multiplexer object, std::uint8_t threshold, UploadSink& sink,
                         bool& refused);

}  // namespace nkr::canopen::sdo

#endif
