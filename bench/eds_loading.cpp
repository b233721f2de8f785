// Loading a description of 1,100 sections, and finding an object by its name.
#include <benchmark/benchmark.h>

#include <nkr/tools/EDSParser.hpp>
#include <sstream>

namespace {

constexpr unsigned kSections = 1100;

/** A description with one variable a section, as tools write them. */
const std::string& description() {
  static const std::string kText = [] {
    std::ostringstream text;
    text << "[FileInfo]\nFileName=bench.eds\n[DeviceInfo]\nVendorName=bench\n[ManufacturerObjects]"
            "\nSupportedObjects="
         << kSections << '\n';
    for (unsigned i = 0; i < kSections; ++i)
      text << i + 1 << "=0x" << std::hex << 0x2000 + i << std::dec << '\n';
    for (unsigned i = 0; i < kSections; ++i) {
      text << '[' << std::hex << 0x2000 + i << std::dec << "]\nParameterName=Parameter of the drive number "
           << i << "\nObjectType=0x7\nDataType=0x0007\nAccessType=rw\nDefaultValue=0x" << i % 10
           << "\nLowLimit=0\nHighLimit=0xFFFF\nPDOMapping=0\n\n";
    }
    return text.str();
  }();
  return kText;
}

void load(benchmark::State& state) {
  nkr::tools::EDSParser parser;
  for (auto _ : state) {
    std::istringstream stream(description());
    if (!parser.parse(stream, false)) state.SkipWithError("not read");
  }
  state.counters["objects"] = static_cast<double>(parser.objects().size());
}

void find(benchmark::State& state) {
  nkr::tools::EDSParser parser;
  std::istringstream stream(description());
  static_cast<void>(parser.parse(stream, false));
  for (auto _ : state) benchmark::DoNotOptimize(parser.find("Parameter of the drive number 1099"));
}

}  // namespace

BENCHMARK(load)->Unit(benchmark::kMillisecond);
BENCHMARK(find);
