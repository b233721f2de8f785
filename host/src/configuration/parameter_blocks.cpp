#include <algorithm>
#include <iterator>
#include <tav/host/parameter_blocks.hpp>

namespace tav::host {

using nkr::tavcore::ICANOpenDispatcher;

namespace {

constexpr Block kBlocks[] = {
    {"all", 1, false, true},           {"communication", 2, false, true}, {"application", 3, false, false},
    {"manufacturer", 4, false, false}, {"calibration", 5, true, false},   {"test-results", 6, true, false},
};

}  // namespace

std::vector<std::string> block_names() {
  std::vector<std::string> names;
  for (const Block& block : kBlocks) names.emplace_back(block.name);
  return names;
}

const Block* block_named(const std::string& name) {
  const auto* const found = std::find_if(std::begin(kBlocks), std::end(kBlocks),
                                         [&](const Block& block) { return block.name == name; });
  return found == std::end(kBlocks) ? nullptr : found;
}

nkr_error_t store_block(ICANOpenDispatcher& dispatcher, const Block& block) {
  if (block.internal) return dispatcher._storeParameters(ICANOpenDispatcher::_BlocId{block.number});
  return dispatcher.storeParameters(ICANOpenDispatcher::BlocId{block.number});
}

nkr_error_t restore_block(ICANOpenDispatcher& dispatcher, const Block& block) {
  if (block.internal) return dispatcher._restoreDefaultParameters(ICANOpenDispatcher::_BlocId{block.number});
  return dispatcher.restoreDefaultParameters(ICANOpenDispatcher::BlocId{block.number});
}

}  // namespace tav::host
