// Costs of the message images: what every broadcast and every received host
// information pays. Build with -DCMAKE_BUILD_TYPE=Release for meaningful figures.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "messages/cls_msg.h"
#include "messages/cls_msg_host_info.h"
#include "messages/property_bag.h"

namespace {

using launchagent::Bytes;

class BenchContext : public launchagent::MessageContext {
 public:
  double SecondsSinceMidnight() override { return 36000.5; }
  std::string LocalHostName() override { return "WORKSTATION-07"; }
};

std::shared_ptr<launchagent::clsMsgHostInfo> HostInfo(BenchContext& ctx) {
  auto obj = std::make_shared<launchagent::clsMsgHostInfo>(ctx);
  obj->SetHostName("WORKSTATION-07");
  obj->SetUserName("anna");
  obj->SetAppPath("\\\\WORKSTATION-07\\c\\Program Files\\Varno\\Varno3.exe");
  obj->SetIPAddress("192.168.10.107");
  obj->SetLocalPort(1230);
  obj->SetProvideWeb(true);
  obj->SetInternetReady(true);
  return obj;
}

void BM_HostInfoEncode(benchmark::State& state) {
  BenchContext ctx;
  auto obj = HostInfo(ctx);
  for (auto _ : state) {
    Bytes image = obj->GetObjectData();
    benchmark::DoNotOptimize(image.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(obj->GetObjectData().size()));
}
BENCHMARK(BM_HostInfoEncode);

// The bag alone: check the image and read all seventeen values, with fixed keys as the
// messages use them.
void BM_HostInfoDecodeBag(benchmark::State& state) {
  BenchContext ctx;
  const Bytes image = HostInfo(ctx)->GetObjectData();
  using Key = launchagent::PropertyBag::Key;
  static constexpr Key kKeys[] = {Key("MsgType"),
                                  Key("sReturnAddress"),
                                  Key("sglMsgId"),
                                  Key("sglMsgReferenceId"),
                                  Key("sHostName"),
                                  Key("sUserName"),
                                  Key("bIndexing"),
                                  Key("sAppPath"),
                                  Key("sIPAddress"),
                                  Key("nLocalPort"),
                                  Key("bProvideHostServices"),
                                  Key("bProvideIntranet"),
                                  Key("bProvideWeb"),
                                  Key("bProvideNews"),
                                  Key("bProvideStocks"),
                                  Key("bProvideJobs"),
                                  Key("bInternetReady")};
  std::string sValue;
  for (auto _ : state) {
    launchagent::PropertyBag bag;
    bool bOk = bag.SetContents(image);
    for (const Key& key : kKeys) bOk &= bag.FindText(key, sValue);
    benchmark::DoNotOptimize(bOk);
    benchmark::DoNotOptimize(sValue.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(image.size()));
}
BENCHMARK(BM_HostInfoDecodeBag);

// The same through ReadProperty, as a caller holding std::string keys would.
void BM_HostInfoDecodeReadProperty(benchmark::State& state) {
  BenchContext ctx;
  const Bytes image = HostInfo(ctx)->GetObjectData();
  const std::string kKeys[] = {"MsgType",
                               "sReturnAddress",
                               "sglMsgId",
                               "sglMsgReferenceId",
                               "sHostName",
                               "sUserName",
                               "bIndexing",
                               "sAppPath",
                               "sIPAddress",
                               "nLocalPort",
                               "bProvideHostServices",
                               "bProvideIntranet",
                               "bProvideWeb",
                               "bProvideNews",
                               "bProvideStocks",
                               "bProvideJobs",
                               "bInternetReady"};
  for (auto _ : state) {
    launchagent::PropertyBag bag;
    bool bOk = bag.SetContents(image);
    for (const std::string& sKey : kKeys) bOk &= bag.ReadProperty(sKey).has_value();
    benchmark::DoNotOptimize(bOk);
  }
}
BENCHMARK(BM_HostInfoDecodeReadProperty);

void BM_HostInfoSetObjectData(benchmark::State& state) {
  BenchContext ctx;
  const Bytes image = HostInfo(ctx)->GetObjectData();
  auto obj = std::make_shared<launchagent::clsMsgHostInfo>(ctx);
  for (auto _ : state) {
    const bool bOk = obj->SetObjectData(image);
    benchmark::DoNotOptimize(bOk);
  }
}
BENCHMARK(BM_HostInfoSetObjectData);

// The receiving side's first step on every image.
void BM_GetMsgType(benchmark::State& state) {
  BenchContext ctx;
  const Bytes image = HostInfo(ctx)->GetObjectData();
  auto objMsg = std::make_shared<launchagent::clsMsg>(ctx);
  for (auto _ : state) {
    benchmark::DoNotOptimize(objMsg->GetMsgType(image));
  }
}
BENCHMARK(BM_GetMsgType);

}  // namespace
