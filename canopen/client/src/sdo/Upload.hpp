#ifndef NKR_CANOPEN_SDO_UPLOAD_HPP
#define NKR_CANOPEN_SDO_UPLOAD_HPP

#include <nkr/error.h>

#include "sdo/Exchange.hpp"
#include "sdo/Link.hpp"
#include "sdo/Multiplexer.hpp"
#include "sdo/UploadSink.hpp"

namespace nkr::canopen::sdo {

/**
 * Reads an object: expedited or in segments, as the server decides (CiA 301, 7.2.4.3.5 and .6). A server that
 * does not understand the request may be stuck in an earlier transfer: that is aborted, and the request is
 * made once more. An upload that another client of the server disturbs is made again after a random pause, as
 * long as one answer may take.
 * @return NKR_OK; NKR_SDO_LENGTH when the object is larger than the sink; NKR_SDO_LENGTH_HIGH or
 * NKR_SDO_LENGTH_LOW when more or less came than was stated; NKR_SDO_TOGGLE_BIT, NKR_SDO_TIMED_OUT; what the
 * server aborted with; what the bus refused with
 */
nkr_error_t upload(Link& link, Multiplexer object, UploadSink& sink);

/** The rest of an upload whose first reply is there. */
nkr_error_t take_upload(Exchange& exchange, const can::Frame& reply, UploadSink& sink);

}  // namespace nkr::canopen::sdo

#endif
