// Other programs' top-level windows, the agent's own forms as windows, the shell's
// results, and the Run value's registry calls.
#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "backend.h"
#include "platform/ui/form.h"

namespace launchagent::contract {
namespace {

constexpr const char* kFormClass = "ThunderRT6FormDC";

// A program that starts gives more than 32: the next case starts the stand-in.
TEST_P(Contract, ShellResultsTellStartedFromMissing) {
  In([&] {
    const std::pair<std::string, Long> cases[] = {
        {B().Scratch() + "\\Varno9.exe", 2},
        {B().Scratch() + "\\nope\\Varno9.exe",
         Long{Differences().bMissingFolderIsPathNotFound ? 3 : 2}},
    };
    for (const auto& [sFile, lngFailure] : cases)
      EXPECT_EQ(P().shell.Execute("open", sFile, "-default", "", 1), lngFailure) << sFile;
  });
}

// The check-in's view of the main application: found by title whatever its class, walked
// in Z order, read, and closed with a request its owner handles.
TEST_P(Contract, AnotherProgramsWindowIsFoundReadAndClosed) {
  In([&] {
    auto& w = P().windows;
    EXPECT_EQ(w.FindWindowByTitle("Varno"), 0);
    ASSERT_GT(P().shell.Execute("open", B().StandInPath(), "-default", "", 1), 32);
    ASSERT_TRUE(Until([&] { return w.FindWindowByTitle("Varno") != 0; }));
    const auto h = w.FindWindowByTitle("Varno");
    EXPECT_EQ(w.ClassName(h, 255), kFormClass);
    EXPECT_EQ(w.WindowText(h, 255), "Varno");
    // Buffers cut the text to one character less than their length.
    EXPECT_EQ(w.ClassName(h, 7), "Thunde");
    EXPECT_EQ(w.WindowText(h, 4), "Var");

    EXPECT_EQ(w.FindWindowByTitle("varno"), 0) << "titles compare exactly";

    // The agent's own window is a top-level window of the same class; renamed, it is
    // found by its new title, and another program's close reaches its form.
    ui::Form form("frmLaunch", "Launch");
    int nUserCloses = 0;
    form.OnUserClose = [&] { ++nUserCloses; };
    w.AttachForm(form);
    const auto hOwn = w.FindWindowByTitle("Launch");
    ASSERT_NE(hOwn, 0);
    form.SetCaption("Launch Service for Varno");
    EXPECT_EQ(w.FindWindowByTitle("Launch Service for Varno"), hOwn);
    EXPECT_EQ(w.WindowText(hOwn, 255), "Launch Service for Varno");
    EXPECT_NE(hOwn, h);
    EXPECT_EQ(w.ClassName(hOwn, 255), kFormClass);
    EXPECT_TRUE(w.SendClose(hOwn));
    EXPECT_TRUE(Until([&] { return nUserCloses == 1; }));
    // Walking down from the top reaches both windows, each once, and ends.
    std::vector<platform::WindowHandle> seen;
    for (auto x = w.FindWindowByTitle("Varno"); x != 0 && seen.size() < 10000; x = w.NextWindow(x))
      seen.push_back(x);
    EXPECT_LT(seen.size(), 10000u) << "the Z order walk never ends";
    EXPECT_EQ(std::count(seen.begin(), seen.end(), h), 1);
    w.DetachForm(form);
    EXPECT_TRUE(!Differences().bDetachedWindowGoesAtOnce ||
                w.FindWindowByTitle("Launch Service for Varno") == 0);

    EXPECT_TRUE(w.SendClose(h));
    ASSERT_TRUE(Until([&] { return w.FindWindowByTitle("Varno") == 0; }));
    EXPECT_FALSE(w.SendClose(h)) << "a close to a window that is gone";
    EXPECT_EQ(w.NextWindow(h), 0) << "a walk from a window that is gone ends";
    EXPECT_FALSE(w.ClassName(h, 255).has_value());
  });
}

// The Run value goes to the machine's root; other keys may go to the user's.
TEST_P(Contract, RunValueIsWrittenThroughTheRegistry) {
  In([&] {
    auto& r = P().registry;
    const std::string sKey = "Software\\LaunchAgentContract\\Run";
    // A value no earlier run left in a registry that outlives the test.
    const std::string sData = "C:\\Launch" + std::to_string(std::random_device{}()) + "\\L.exe";
    for (auto root : {platform::RegistryRoot::CurrentUser, platform::RegistryRoot::LocalMachine}) {
      const auto key = r.CreateKey(root, sKey);
      ASSERT_TRUE(key.has_value());
      EXPECT_TRUE(r.SetStringValue(*key, "1", "C:\\Launch\\Launch.exe"));
      EXPECT_TRUE(r.SetStringValue(*key, "1", sData)) << "replacing";
      EXPECT_TRUE(r.CloseKey(*key));
      EXPECT_FALSE(r.CloseKey(*key) || r.SetStringValue(*key, "1", "x")) << "a closed key";
      EXPECT_EQ(B().RegistryValue(root, sKey, "1"), sData);
    }
  });
}

}  // namespace
}  // namespace launchagent::contract
