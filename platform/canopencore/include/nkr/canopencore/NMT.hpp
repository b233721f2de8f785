#ifndef NKR_CANOPENCORE_NMT_HPP
#define NKR_CANOPENCORE_NMT_HPP

#include <cstdint>

namespace nkr::canopencore {

/** NMT state of a node, numbered as in the heartbeat frame (CiA 301, 7.2.8.3.2.2). */
enum class NMTState : std::uint32_t {
  UNKNOWN = 0,            ///< never heard, heartbeat lost, or just booting
  STOPPED = 4,            ///< neither SDO nor PDO
  OPERATIONAL = 5,        ///< SDO and PDO
  PRE_OPERATIONAL = 127,  ///< SDO, no PDO
};

/** NMT command specifier (CiA 301, 7.2.8.3.1). */
enum class NMTCommand : std::uint32_t {
  START_REMOTE_NODE = 1,        ///< go to operational
  STOP_REMOTE_NODE = 2,         ///< go to stopped
  ENTER_PRE_OPERATIONAL = 128,  ///< go to pre-operational
  RESET_NODE = 129,             ///< reset the application
  RESET_COMMUNICATION = 130,    ///< reset the communication
};

}  // namespace nkr::canopencore

#endif
