#include <nkr/error.h>

#include <cstdint>

namespace {

struct Description {
  nkr_error_t code;
  const char* name;
  const char* text;
};

#define DESCRIBED(code, text) \
  { code, #code, text }

constexpr Description kDescriptions[] = {
    DESCRIBED(NKR_OK, "Success."),
    DESCRIBED(NKR_ERROR, "The request cannot be served: an argument is out of range or a part is missing."),
    DESCRIBED(NKR_NOT_AVAILABLE, "Not available: not initialised, or no such object or file."),
    DESCRIBED(NKR_INVALID_STATE, "The drive is not in a state that the operation needs or knows."),
    DESCRIBED(NKR_CAN_BUS_OFF, "The CAN controller is bus-off: it sends nothing until it is restarted."),
    DESCRIBED(NKR_CAN_INTERFACE_GONE, "The CAN interface is down or gone."),
    DESCRIBED(NKR_CAN_NOT_CONNECTED, "Not connected to a CAN bus."),
    DESCRIBED(NKR_CAN_INVALID_NODE, "The node id is outside 1 to 127; nothing was sent."),
    DESCRIBED(NKR_CAN_CLOSED, "The connection was closed."),
    DESCRIBED(NKR_CAN_NO_INTERFACE, "There is no CAN bus of that name."),
    DESCRIBED(NKR_CAN_PERMISSION, "The system refused access to the CAN bus."),
    DESCRIBED(NKR_CAN_TX_OVERFLOW, "The send queue of the CAN interface stayed full."),
    DESCRIBED(NKR_CAN_TIMED_OUT, "No CAN frame arrived in time."),
    DESCRIBED(NKR_CAN_WOULD_DEADLOCK, "The call was refused: it would wait for its own caller."),
    DESCRIBED(NKR_CAN_CANCELLED, "The request was cancelled."),
    DESCRIBED(NKR_CAN_NO_RESOURCES, "The system has no descriptor, thread or memory left for the bus."),
    DESCRIBED(NKR_INTERRUPTED, "The program asked to end."),
    DESCRIBED(NKR_SDO_TOGGLE_BIT, "SDO: the toggle bit was not alternated."),
    DESCRIBED(NKR_SDO_TIMED_OUT, "SDO: the node did not answer in time."),
    DESCRIBED(NKR_SDO_UNKNOWN_COMMAND, "SDO: the command specifier is invalid or unknown."),
    DESCRIBED(NKR_SDO_BLOCK_SIZE, "SDO: invalid block size."),
    DESCRIBED(NKR_SDO_BLOCK_SEQUENCE, "SDO: invalid sequence number in a block transfer."),
    DESCRIBED(NKR_SDO_BLOCK_CRC, "SDO: CRC error in a block transfer."),
    DESCRIBED(NKR_SDO_OUT_OF_MEMORY, "SDO: out of memory."),
    DESCRIBED(NKR_SDO_UNSUPPORTED_ACCESS, "SDO: the object does not support this access."),
    DESCRIBED(NKR_SDO_WRITE_ONLY, "SDO: the object can only be written."),
    DESCRIBED(NKR_SDO_READ_ONLY, "SDO: the object can only be read."),
    DESCRIBED(NKR_SDO_NO_OBJECT, "SDO: the object does not exist in the object dictionary."),
    DESCRIBED(NKR_SDO_NOT_MAPPABLE, "SDO: the object cannot be mapped to the PDO."),
    DESCRIBED(NKR_SDO_MAPPING_LENGTH, "SDO: the mapped objects exceed the PDO's length."),
    DESCRIBED(NKR_SDO_PARAMETER_INCOMPATIBLE, "SDO: general parameter incompatibility."),
    DESCRIBED(NKR_SDO_DEVICE_INCOMPATIBLE, "SDO: general internal incompatibility in the device."),
    DESCRIBED(NKR_SDO_HARDWARE, "SDO: the access failed because of a hardware error."),
    DESCRIBED(NKR_SDO_LENGTH, "SDO: the data type or the length of the value does not match."),
    DESCRIBED(NKR_SDO_LENGTH_HIGH, "SDO: the value is too long for the object."),
    DESCRIBED(NKR_SDO_LENGTH_LOW, "SDO: the value is too short for the object."),
    DESCRIBED(NKR_SDO_NO_SUBINDEX, "SDO: the sub-index does not exist."),
    DESCRIBED(NKR_SDO_INVALID_VALUE, "SDO: the value is invalid for the object."),
    DESCRIBED(NKR_SDO_VALUE_HIGH, "SDO: the value is above the object's upper limit."),
    DESCRIBED(NKR_SDO_VALUE_LOW, "SDO: the value is below the object's lower limit."),
    DESCRIBED(NKR_SDO_MAX_BELOW_MIN, "SDO: the maximum is below the minimum."),
    DESCRIBED(NKR_SDO_NO_RESOURCE, "SDO: no SDO connection is available."),
    DESCRIBED(NKR_SDO_GENERAL, "SDO: general error."),
    DESCRIBED(NKR_SDO_STORE, "SDO: the data cannot be transferred or stored."),
    DESCRIBED(NKR_SDO_LOCAL_CONTROL,
              "SDO: the data cannot be transferred or stored because of local control."),
    DESCRIBED(NKR_SDO_DEVICE_STATE,
              "SDO: the data cannot be transferred or stored in the present device state."),
    DESCRIBED(NKR_SDO_NO_DICTIONARY, "SDO: the device has no object dictionary or could not generate it."),
    DESCRIBED(NKR_SDO_NO_DATA, "SDO: no data available."),
};

#undef DESCRIBED

constexpr std::uint32_t kFirstAbortCode = 0x05000000;

/** Null for a code that nothing here names. */
const Description* description_of(nkr_error_t code) {
  for (const Description& description : kDescriptions) {
    if (description.code == code) return &description;
  }
  return nullptr;
}

bool is_abort_code(nkr_error_t code) {
  return static_cast<std::uint32_t>(code) >= kFirstAbortCode;
}

}  // namespace

const char* nkr_error_text(nkr_error_t code) {
  if (const Description* const known = description_of(code)) return known->text;
  return is_abort_code(code) ? "SDO: the node aborted the transfer with a code of its own."
                             : "Unknown result code.";
}

const char* nkr_error_name(nkr_error_t code) {
  if (const Description* const known = description_of(code)) return known->name;
  return is_abort_code(code) ? "SDO_ABORT" : "UNKNOWN";
}
