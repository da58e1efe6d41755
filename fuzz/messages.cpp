// Fuzz target for the bytes that arrive from other agents: the property bag reader,
// the type lookup and the three message readers. Run:
//   build-fuzz/fuzz/fuzz_messages fuzz/corpus-work fuzz/corpus/messages
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>

#include "messages/cls_msg.h"
#include "messages/cls_msg_hello.h"
#include "messages/cls_msg_host_info.h"
#include "messages/cls_msg_user_list.h"
#include "messages/property_bag.h"

namespace {

using Key = launchagent::PropertyBag::Key;
// Names of the host information in its order, names seeds and mutations hit, and names
// the bag looks up by text (longer than a key holds, not ASCII).
constexpr Key kKeys[] = {Key("MsgType"),
                         Key("sReturnAddress"),
                         Key("sglMsgId"),
                         Key("sglMsgReferenceId"),
                         Key("sHostName"),
                         Key("sUserName"),
                         Key("bIndexing"),
                         Key("sAppPath"),
                         Key("nLocalPort"),
                         Key("k"),
                         Key("key1"),
                         Key("v"),
                         Key("a_name_longer_than_thirty_two_units_x"),
                         Key("cl\xC3\xA9")};
constexpr const Key* kKeyOrder[] = {&kKeys[0],  &kKeys[1],  &kKeys[2],  &kKeys[3], &kKeys[4],
                                    &kKeys[5],  &kKeys[6],  &kKeys[7],  &kKeys[8], &kKeys[9],
                                    &kKeys[10], &kKeys[11], &kKeys[12], &kKeys[13]};

class FuzzContext : public launchagent::MessageContext {
 public:
  double SecondsSinceMidnight() override { return 1234.5; }
  std::string LocalHostName() override { return "FUZZ"; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
  using launchagent::Bytes;
  using launchagent::PropertyBag;
  const Bytes byteArray(pData, pData + nSize);

  PropertyBag bag;
  if (bag.SetContents(byteArray)) {
    // An accepted image gives its own bytes back, and its entries written afresh make
    // an image that reads back the same (small images only: the text forms of 16- and
    // 32-bit values are longer than the values).
    if (bag.Contents() != byteArray) std::abort();
    const auto entries = bag.Entries();
    for (const auto& entry : entries) {
      // Names with an unpaired surrogate come back as U+FFFD and need not be found.
      if (entry.sName.find("\xEF\xBF\xBD") != std::string::npos) continue;
      if (!bag.ReadProperty(entry.sName)) std::abort();
    }
    if (nSize <= 16 * 1024) {
      PropertyBag copy;
      for (const auto& entry : entries) copy.WriteProperty(entry.sName, entry.sValue);
      PropertyBag reread;
      if (!reread.SetContents(copy.Contents())) std::abort();
      const auto again = reread.Entries();
      if (again.size() != entries.size()) std::abort();
      for (std::size_t k = 0; k < again.size(); ++k) {
        if (again[k].sName != entries[k].sName || again[k].sValue != entries[k].sValue) {
          std::abort();
        }
      }
    }
  } else if (bag.Count() != 0) {
    std::abort();
  }

  // Reading in place with fixed keys takes exactly the same images and finds the same.
  PropertyBag looked, keyed;
  const bool bAccepted = looked.SetContents(byteArray);
  if (keyed.ReadImage(byteArray, kKeyOrder) != bAccepted) std::abort();
  if (bAccepted) {
    if (keyed.Contents() != byteArray || keyed.Count() != looked.Count()) std::abort();
    // In the keys' order, then backwards: the same answers whatever the order of reads.
    for (int nPass = 0; nPass < 2; ++nPass) {
      for (std::size_t n = 0; n < std::size(kKeyOrder); ++n) {
        const Key* pKey = kKeyOrder[nPass == 0 ? n : std::size(kKeyOrder) - 1 - n];
        std::string sKeyed = "none", sLooked = "none";
        if (keyed.FindText(*pKey, sKeyed) != looked.FindText(pKey->Name(), sLooked)) std::abort();
        if (sKeyed != sLooked) std::abort();
      }
    }
    // A name outside the keys is looked up as usual.
    if (keyed.ReadProperty("extra") != looked.ReadProperty("extra")) std::abort();
    // Writing on makes the bytes the bag's own; the image stays valid.
    if (nSize <= 16 * 1024 && keyed.Count() < 1000) {
      keyed.WriteProperty("after", "1");
      PropertyBag again;
      if (!again.SetContents(keyed.Contents()) || again.Count() != looked.Count() + 1) std::abort();
      if (!looked.ReadProperty("after") && again.ReadProperty("after") != "1") std::abort();
    }
  }

  FuzzContext ctx;
  auto objMsg = std::make_shared<launchagent::clsMsg>(ctx);
  const launchagent::Long lngType = objMsg->GetMsgType(byteArray);

  auto objHostInfo = std::make_shared<launchagent::clsMsgHostInfo>(ctx);
  auto objUserList = std::make_shared<launchagent::clsMsgUserList>(ctx);
  auto objHello = std::make_shared<launchagent::clsMsgHello>(ctx);
  const bool bHostInfo = objHostInfo->SetObjectData(byteArray);
  const bool bUserList = objUserList->SetObjectData(byteArray);
  const bool bHello = objHello->SetObjectData(byteArray);
  // A reader only takes an image of its own type.
  if ((bHostInfo && lngType != 4) || (bUserList && lngType != 5) || (bHello && lngType != 6)) {
    std::abort();
  }
  // What was read can be written again.
  if (bHostInfo && objMsg->GetMsgType(objHostInfo->GetObjectData()) != 4) std::abort();
  if (bUserList) objUserList->GetObjectData();
  if (bHello && objMsg->GetMsgType(objHello->GetObjectData()) != 6) std::abort();
  return 0;
}
