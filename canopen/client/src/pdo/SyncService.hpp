#ifndef NKR_CANOPEN_PDO_SYNCSERVICE_HPP
#define NKR_CANOPEN_PDO_SYNCSERVICE_HPP

#include <nkr/canopencore/IService.hpp>
#include <nkr/canopenservice/Tav.hpp>

#include "pdo/PdoExchange.hpp"

namespace nkr::canopen {

/**
 * One exchange of process data with a node: the order out; status word, position and velocity in.
 *
 * A value comes by TPDO when the node maps it into one that it sends on every SYNC. The order goes by RPDO
 * when the node maps it into one that holds nothing else: the values of other objects in it (a control word,
 * say) are not ours to send. All the rest goes by SDO.
 */
class SyncService {
 public:
  /** `data`: null when PDOs are not to be used. */
  SyncService(canopencore::IService& sdo, PdoExchange* data, PdoExchange::Duration timeout,
              const canopenservice::TavIn& request);

  nkr_error_t run(canopenservice::TavOut& out);

 private:
  nkr_error_t look_up();
  nkr_error_t send_order();
  nkr_error_t exchange();
  nkr_error_t take(const can::Frame& frame, const Pdo& pdo);
  template <class T>
  nkr_error_t take(const can::Frame& frame, const Pdo& pdo, std::uint32_t address, T& value, bool& known);
  nkr_error_t read_rest();

  canopencore::IService& sdo_;
  PdoExchange* const data_;
  const PdoExchange::Duration timeout_;
  const canopenservice::TavIn& request_;

  PdoExchange::Pdos tpdos_;
  PdoExchange::Pdos rpdos_;
  std::vector<const Pdo*> wanted_;   ///< the TPDOs that bring values of the request
  const Pdo* order_rpdo_ = nullptr;  ///< the RPDO that takes the order
  canopenservice::TavOut values_{};
  bool status_word_known_ = false;
  bool position_known_ = false;
  bool velocity_known_ = false;
};

}  // namespace nkr::canopen

#endif
