#include "operations.hpp"

namespace tavtest {

using nkr::tavcore::ICommunicationService;

namespace {

constexpr std::int32_t kSave = 0x65766173;
constexpr std::int32_t kLoad = 0x64616F6C;

Operation store(std::string variant, std::int32_t block, std::string object) {
  return setter("storeParameters",
                [block](auto& d) { return d.storeParameters(ICommunicationService::BlocId{block}); },
                {write(std::move(object), kSave)})
      .as(std::move(variant));
}

Operation restore(std::string variant, std::int32_t block, std::string object) {
  return setter("restoreDefaultParameters",
                [block](auto& d) { return d.restoreDefaultParameters(ICommunicationService::BlocId{block}); },
                {write(std::move(object), kLoad).once()})
      .as(std::move(variant))
      .knowing("Node ID", "0x20");
}

std::vector<Operation> block_operations() {
  return {
      store("all", 1, "Store Parameters Save all Parameters"),
      store("communication", 2, "Store Parameters Save Communication Parameters"),
      store("application", 3, "Store Parameters Save Application Parameters"),
      store("manufacturer", 4, "Store Parameters Save Manufacturer Parameters"),
      restore("all", 1, "Restore Default Parameters Restore all Default Parameters"),
      restore("communication", 2, "Restore Default Parameters Restore Communication Default Parameters"),
      restore("application", 3, "Restore Default Parameters Restore Application Default Parameters"),
      restore("manufacturer", 4, "Restore Default Parameters Restore Manufacturer Parameters"),
  };
}

}  // namespace

std::vector<Operation> communication_operations() {
  using Service = ICommunicationService;
  std::vector<Operation> operations = block_operations();
  operations.push_back(plain_getter(
      "getIdentityParameters", Service::IdentityParameters{1, 2, 3, 4},
      [](const auto& d, auto& p) { return d.getIdentityParameters(p); },
      [](const auto& p) {
        return Values{p.vendor_id, p.product_code, p.revision_number, p.serial_number};
      },
      {read("Identity Object Vendor Id", 2599U), read("Identity Object Product Code", 0x402U),
       read("Identity Object Revision number", 0x00010002U),
       read("Identity Object Serial number", 4000000000U)}));
  operations.push_back(plain_getter(
      "getNetworkParameters", Service::NetworkParameters{77, u8(1), false},
      [](const auto& d, auto& p) { return d.getNetworkParameters(p); },
      [](const auto& p) {
        return Values{p.node_id, p.termination, p.reserved};
      },
      {read("Node ID", u8(17)), read("R Termination", true)}));
  operations.push_back(setter("setNetworkParameters",
                              [](auto& d) {
                                return d.setNetworkParameters({77, u8(17), true});
                              },
                              {write("Node ID", u8(17)), write("R Termination", true)}));
  operations.push_back(plain_getter(
      "getCommunicationParameters", Service::CommunicationParameters{1, u16(2)},
      [](const auto& d, auto& p) { return d.getCommunicationParameters(p); },
      [](const auto& p) {
        return Values{p.cob_id_sync, p.producer_heartbeat_time};
      },
      {read("COB ID SYNC message", 0x40000080U), read("Producer Heartbeat Time", u16(500))}));
  operations.push_back(
      setter("setCommunicationParameters",
             [](auto& d) {
               return d.setCommunicationParameters({0x40000080U, u16(500)});
             },
             {write("COB ID SYNC message", 0x40000080U), write("Producer Heartbeat Time", u16(500))}));
  return operations;
}

}  // namespace tavtest
