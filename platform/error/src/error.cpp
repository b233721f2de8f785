#include <nkr/error.h>

#include <cstdint>

namespace {

struct Sentence {
  nkr_error_t code;
  const char* text;
};

constexpr Sentence kSentences[] = {
    {NKR_OK, "Success."},
    {NKR_ERROR, "The request cannot be served: an argument is out of range or a part is missing."},
    {NKR_NOT_AVAILABLE, "Not available: not initialised, or no such object or file."},
    {NKR_INVALID_STATE, "The drive is not in a state that the operation needs or knows."},
    {NKR_CAN_BUS_OFF, "The CAN controller is bus-off: it sends nothing until it is restarted."},
    {NKR_CAN_INTERFACE_GONE, "The CAN interface is down or gone."},
    {NKR_CAN_NOT_CONNECTED, "Not connected to a CAN bus."},
    {NKR_CAN_INVALID_NODE, "The node id is outside 1 to 127; nothing was sent."},
    {NKR_CAN_CLOSED, "The connection was closed."},
    {NKR_CAN_NO_INTERFACE, "There is no CAN bus of that name."},
    {NKR_CAN_PERMISSION, "The system refused access to the CAN bus."},
    {NKR_CAN_TX_OVERFLOW, "The send queue of the CAN interface stayed full."},
    {NKR_CAN_TIMED_OUT, "No CAN frame arrived in time."},
    {NKR_CAN_WOULD_DEADLOCK, "The call was refused: it would wait for its own caller."},
    {NKR_INTERRUPTED, "The program asked to end."},
    {NKR_SDO_TOGGLE_BIT, "SDO: the toggle bit was not alternated."},
    {NKR_SDO_TIMED_OUT, "SDO: the node did not answer in time."},
    {NKR_SDO_UNKNOWN_COMMAND, "SDO: the command specifier is invalid or unknown."},
    {NKR_SDO_BLOCK_SIZE, "SDO: invalid block size."},
    {NKR_SDO_BLOCK_SEQUENCE, "SDO: invalid sequence number in a block transfer."},
    {NKR_SDO_BLOCK_CRC, "SDO: CRC error in a block transfer."},
    {NKR_SDO_OUT_OF_MEMORY, "SDO: out of memory."},
    {NKR_SDO_UNSUPPORTED_ACCESS, "SDO: the object does not support this access."},
    {NKR_SDO_WRITE_ONLY, "SDO: the object can only be written."},
    {NKR_SDO_READ_ONLY, "SDO: the object can only be read."},
    {NKR_SDO_NO_OBJECT, "SDO: the object does not exist in the object dictionary."},
    {NKR_SDO_NOT_MAPPABLE, "SDO: the object cannot be mapped to the PDO."},
    {NKR_SDO_MAPPING_LENGTH, "SDO: the mapped objects exceed the PDO's length."},
    {NKR_SDO_PARAMETER_INCOMPATIBLE, "SDO: general parameter incompatibility."},
    {NKR_SDO_DEVICE_INCOMPATIBLE, "SDO: general internal incompatibility in the device."},
    {NKR_SDO_HARDWARE, "SDO: the access failed because of a hardware error."},
    {NKR_SDO_LENGTH, "SDO: the data type or the length of the value does not match."},
    {NKR_SDO_LENGTH_HIGH, "SDO: the value is too long for the object."},
    {NKR_SDO_LENGTH_LOW, "SDO: the value is too short for the object."},
    {NKR_SDO_NO_SUBINDEX, "SDO: the sub-index does not exist."},
    {NKR_SDO_INVALID_VALUE, "SDO: the value is invalid for the object."},
    {NKR_SDO_VALUE_HIGH, "SDO: the value is above the object's upper limit."},
    {NKR_SDO_VALUE_LOW, "SDO: the value is below the object's lower limit."},
    {NKR_SDO_MAX_BELOW_MIN, "SDO: the maximum is below the minimum."},
    {NKR_SDO_NO_RESOURCE, "SDO: no SDO connection is available."},
    {NKR_SDO_GENERAL, "SDO: general error."},
    {NKR_SDO_STORE, "SDO: the data cannot be transferred or stored."},
    {NKR_SDO_LOCAL_CONTROL, "SDO: the data cannot be transferred or stored because of local control."},
    {NKR_SDO_DEVICE_STATE, "SDO: the data cannot be transferred or stored in the present device state."},
    {NKR_SDO_NO_DICTIONARY, "SDO: the device has no object dictionary or could not generate it."},
    {NKR_SDO_NO_DATA, "SDO: no data available."},
};

constexpr std::uint32_t kFirstAbortCode = 0x05000000;

}  // namespace

const char* nkr_error_text(nkr_error_t code) {
  for (const Sentence& sentence : kSentences) {
    if (sentence.code == code) return sentence.text;
  }
  if (static_cast<std::uint32_t>(code) >= kFirstAbortCode)
    return "SDO: the node aborted the transfer with a code of its own.";
  return "Unknown result code.";
}
