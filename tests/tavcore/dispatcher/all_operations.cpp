#include "operations.hpp"

namespace tavtest {

std::vector<Operation> all_operations() {
  std::vector<Operation> all;
  for (const auto& list :
       {process_data_operations(), controller_only_operations(), nmt_operations(), emcy_operations(),
        internal_operations(), manufacturer_operations(), pds_operations(), velocity_operations(),
        communication_operations(), pdo_operations()}) {
    all.insert(all.end(), list.begin(), list.end());
  }
  return all;
}

}  // namespace tavtest
