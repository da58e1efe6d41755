// Costs of the message images: what every broadcast and every received host
// information pays, beside the plain codec of plain_image.h and memcpy as baselines in
// the same run. Build with -DCMAKE_BUILD_TYPE=Release for meaningful figures.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "messages/cls_msg.h"
#include "messages/cls_msg_host_info.h"
#include "messages/property_bag.h"
#include "plain_image.h"

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

using launchagent::PropertyBag;
using Key = PropertyBag::Key;
constexpr Key kKeys[] = {Key("MsgType"),
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
constexpr const Key* kOrder[] = {&kKeys[0],  &kKeys[1],  &kKeys[2],  &kKeys[3],  &kKeys[4],
                                 &kKeys[5],  &kKeys[6],  &kKeys[7],  &kKeys[8],  &kKeys[9],
                                 &kKeys[10], &kKeys[11], &kKeys[12], &kKeys[13], &kKeys[14],
                                 &kKeys[15], &kKeys[16]};

// LA_BENCH_ITERATIONS=n fixes the iteration count, so callgrind's instruction counts of
// two runs with different counts give the cost of one iteration exactly.
void FixedIterations(benchmark::internal::Benchmark* b) {
  if (const char* sz = std::getenv("LA_BENCH_ITERATIONS")) b->Iterations(std::atoll(sz));
}

void SetBytes(benchmark::State& state, std::size_t nImage) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(nImage));
}

// Baseline: the least any reader pays, touching the image's bytes once.
void BM_ImageMemcpy(benchmark::State& state) {
  BenchContext ctx;
  const Bytes image = HostInfo(ctx)->GetObjectData();
  Bytes copy(image.size());
  for (auto _ : state) {
    std::memcpy(copy.data(), image.data(), image.size());
    benchmark::DoNotOptimize(copy.data());
    benchmark::ClobberMemory();
  }
  SetBytes(state, image.size());
}
BENCHMARK(BM_ImageMemcpy)->Apply(FixedIterations);

// Baseline: a plain decoder that knows the seventeen names in their order.
void BM_HostInfoDecodePlain(benchmark::State& state) {
  BenchContext ctx;
  const Bytes image = HostInfo(ctx)->GetObjectData();
  std::array<std::string, plain_image::kFields> values;
  if (!plain_image::Decode(image, values)) state.SkipWithError("plain decoder refused the image");
  for (auto _ : state) {
    benchmark::DoNotOptimize(plain_image::Decode(image, values));
    benchmark::DoNotOptimize(values[16].data());
  }
  SetBytes(state, image.size());
}
BENCHMARK(BM_HostInfoDecodePlain)->Apply(FixedIterations);

// The bag as the messages read it: checked in place, keys assigned in the same pass,
// the same seventeen values out.
void BM_HostInfoDecodeBag(benchmark::State& state) {
  BenchContext ctx;
  const Bytes image = HostInfo(ctx)->GetObjectData();
  std::array<std::string, plain_image::kFields> values;
  for (auto _ : state) {
    PropertyBag bag;
    bool bOk = bag.ReadImage(image, kOrder);
    for (std::size_t k = 0; k < values.size(); ++k) bOk &= bag.FindText(kKeys[k], values[k]);
    benchmark::DoNotOptimize(bOk);
    benchmark::DoNotOptimize(values[16].data());
  }
  SetBytes(state, image.size());
}
BENCHMARK(BM_HostInfoDecodeBag)->Apply(FixedIterations);

// The bag's general path: the image copied in, each key looked up.
void BM_HostInfoDecodeBagLookup(benchmark::State& state) {
  BenchContext ctx;
  const Bytes image = HostInfo(ctx)->GetObjectData();
  std::array<std::string, plain_image::kFields> values;
  for (auto _ : state) {
    PropertyBag bag;
    bool bOk = bag.SetContents(image);
    for (std::size_t k = 0; k < values.size(); ++k) bOk &= bag.FindText(kKeys[k], values[k]);
    benchmark::DoNotOptimize(bOk);
    benchmark::DoNotOptimize(values[16].data());
  }
  SetBytes(state, image.size());
}
BENCHMARK(BM_HostInfoDecodeBagLookup)->Apply(FixedIterations);

std::array<std::string, plain_image::kFields> Values(BenchContext& ctx) {
  PropertyBag bag;
  const Bytes image = HostInfo(ctx)->GetObjectData();
  bag.SetContents(image);
  std::array<std::string, plain_image::kFields> values;
  for (std::size_t k = 0; k < values.size(); ++k) bag.FindText(kKeys[k], values[k]);
  return values;
}

// Baseline: a plain encoder of the seventeen texts.
void BM_HostInfoEncodePlain(benchmark::State& state) {
  BenchContext ctx;
  const auto values = Values(ctx);
  std::array<std::string_view, plain_image::kFields> views;
  for (std::size_t k = 0; k < views.size(); ++k) views[k] = values[k];
  for (auto _ : state) {
    Bytes image = plain_image::Encode(views);
    benchmark::DoNotOptimize(image.data());
  }
  SetBytes(state, plain_image::Encode(views).size());
}
BENCHMARK(BM_HostInfoEncodePlain)->Apply(FixedIterations);

// The bag's writer as the messages use it: fixed keys, the image sized once.
void BM_HostInfoEncodeBag(benchmark::State& state) {
  BenchContext ctx;
  const auto values = Values(ctx);
  std::array<PropertyBag::TextEntry, plain_image::kFields> entries;
  for (std::size_t k = 0; k < entries.size(); ++k) entries[k] = {&kKeys[k], values[k]};
  for (auto _ : state) {
    Bytes image = PropertyBag::WriteImage(entries);
    benchmark::DoNotOptimize(image.data());
  }
  SetBytes(state, PropertyBag::WriteImage(entries).size());
}
BENCHMARK(BM_HostInfoEncodeBag)->Apply(FixedIterations);

// The bag's general writer: entry by entry, then the image copied out.
void BM_HostInfoEncodeBagAppend(benchmark::State& state) {
  BenchContext ctx;
  const auto values = Values(ctx);
  for (auto _ : state) {
    PropertyBag bag;
    for (std::size_t k = 0; k < values.size(); ++k) bag.AppendText(kKeys[k].Name(), values[k]);
    Bytes image = bag.Contents();
    benchmark::DoNotOptimize(image.data());
  }
}
BENCHMARK(BM_HostInfoEncodeBagAppend)->Apply(FixedIterations);

// The whole message, with its numbers and flags in text form: a field changes before
// every image, so each one is encoded afresh.
void BM_HostInfoEncode(benchmark::State& state) {
  BenchContext ctx;
  auto obj = HostInfo(ctx);
  launchagent::Integer nPort = 1230;
  for (auto _ : state) {
    obj->SetLocalPort(nPort);
    nPort = nPort == 1230 ? 1231 : 1230;
    Bytes image = obj->GetObjectData();
    benchmark::DoNotOptimize(image.data());
  }
  SetBytes(state, obj->GetObjectData().size());
}
BENCHMARK(BM_HostInfoEncode)->Apply(FixedIterations);

// A broadcast: the same description asked for once per host, unchanged in between.
void BM_HostInfoEncodeUnchanged(benchmark::State& state) {
  BenchContext ctx;
  auto obj = HostInfo(ctx);
  for (auto _ : state) {
    Bytes image = obj->GetObjectData();
    benchmark::DoNotOptimize(image.data());
  }
  SetBytes(state, obj->GetObjectData().size());
}
BENCHMARK(BM_HostInfoEncodeUnchanged)->Apply(FixedIterations);

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
BENCHMARK(BM_HostInfoDecodeReadProperty)->Apply(FixedIterations);

void BM_HostInfoSetObjectData(benchmark::State& state) {
  BenchContext ctx;
  const Bytes image = HostInfo(ctx)->GetObjectData();
  auto obj = std::make_shared<launchagent::clsMsgHostInfo>(ctx);
  for (auto _ : state) {
    const bool bOk = obj->SetObjectData(image);
    benchmark::DoNotOptimize(bOk);
  }
}
BENCHMARK(BM_HostInfoSetObjectData)->Apply(FixedIterations);

// Baseline: a plain strict reader that tells the type of any image.
void BM_GetMsgTypePlain(benchmark::State& state) {
  BenchContext ctx;
  const Bytes image = HostInfo(ctx)->GetObjectData();
  if (plain_image::MsgType(image) != 4) state.SkipWithError("plain reader misread the type");
  for (auto _ : state) {
    benchmark::DoNotOptimize(plain_image::MsgType(image));
  }
  SetBytes(state, image.size());
}
BENCHMARK(BM_GetMsgTypePlain)->Apply(FixedIterations);

// The receiving side's first step on every image.
void BM_GetMsgType(benchmark::State& state) {
  BenchContext ctx;
  const Bytes image = HostInfo(ctx)->GetObjectData();
  auto objMsg = std::make_shared<launchagent::clsMsg>(ctx);
  for (auto _ : state) {
    benchmark::DoNotOptimize(objMsg->GetMsgType(image));
  }
  SetBytes(state, image.size());
}
BENCHMARK(BM_GetMsgType)->Apply(FixedIterations);

}  // namespace
