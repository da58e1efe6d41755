// Paths as the agent writes them, one table for every backend: letter case, "." and
// "..", and the path test of the launcher and the setup window
// (a listing that finds a file or a folder). How a backend maps a path it cannot
// reach (an unknown drive, a climb above a share) is its own business.
#include <string>
#include <vector>

#include "backend.h"
#include "platform/shared_steps.h"

namespace launchagent::contract {
namespace {

TEST_P(Contract, PathsResolveAlikeOnEveryBackend) {
  B().PutFile("agent.dat", "x", false);
  B().PutFolder("Sub");
  In([&] {
    auto& fs = P().files;
    const std::string d = B().Scratch();
    struct Case {
      std::string sPath;
      bool bFolder, bReadable, bExists;  // FolderExists, CanOpenForReading, PathExists
    };
    const std::vector<Case> cases = {
        {d + "\\agent.dat", false, true, true},
        {d + "\\AGENT.DAT", false, true, true},
        {d + "\\.\\agent.dat", false, true, true},
        {d + "\\Sub\\..\\agent.dat", false, true, true},
        {d + "\\missing\\..\\agent.dat", false, true, true},
        {d + "\\sub", true, false, true},
        {d + "\\*.DAT", false, false, true},
        {d + "\\*.none", false, false, false},
        {d + "\\missing.dat", false, false, false},
        {d + "\\Sub\\nothing", false, false, false},
    };
    for (const auto& c : cases) {
      EXPECT_EQ(fs.FolderExists(c.sPath), c.bFolder) << c.sPath;
      EXPECT_EQ(fs.CanOpenForReading(c.sPath), c.bReadable) << c.sPath;
      EXPECT_EQ(PathExists(fs, c.sPath), c.bExists) << c.sPath;
    }
  });
}

}  // namespace
}  // namespace launchagent::contract
