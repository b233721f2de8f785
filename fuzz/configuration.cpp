// Configuration files of a host: what the reader takes, Config::load() takes alike.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <tav/host/HostConfiguration.hpp>

namespace {

using nkr::tavcore::Config;

void require(bool holds) {
  if (!holds) std::abort();
}

void require_equal(const Config& a, const Config& b) {
  require(a.getContextId() == b.getContextId() && a.getNodeId() == b.getNodeId());
  require(a.getHWConfigurationEntry() == b.getHWConfigurationEntry());
  require(a.getNbStepRevolutionElec() == b.getNbStepRevolutionElec() &&
          a.getNbPolePair() == b.getNbPolePair());
  require(a.getReduction() == b.getReduction() && a.getDiameter() == b.getDiameter());
  require(a.getUsbPort() == b.getUsbPort());
  require(a.getTargetVelocityTimeoutMs() == b.getTargetVelocityTimeoutMs());
  require(a.getMaxMaintenanceSpeedValue() == b.getMaxMaintenanceSpeedValue());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string content(reinterpret_cast<const char*>(bytes), size);
  static const std::string path = "/tmp/tav-fuzz-configuration-" + std::to_string(::getpid());
  std::istringstream stream(content);
  tav::host::HostConfiguration file;
  const tav::host::Result result = file.read(stream, path);
  bool has_mistake = file.remarks().empty() && !result.ok();  // no text at all
  for (const auto& remark : file.remarks()) {
    has_mistake = has_mistake || remark.is_mistake;
    require(!text(remark, path).empty());
  }
  require(result.ok() != has_mistake);
  if (!result.ok() || !file.units().front().name.empty()) return 0;
  std::ofstream(path, std::ios::binary) << content;
  Config loaded;
  require(loaded.load(path) == NKR_OK);
  require_equal(loaded, *file.units().front().config());
  return 0;
}
