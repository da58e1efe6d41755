// "agent.dat" and the agent-info file through the window's four file operations, on the
// simulated host's disk.
#include <gtest/gtest.h>

#include "setup_fixture.h"

namespace launchagent::testing {
namespace {

using OptionFilesTest = SetupTest;

TEST_F(OptionFilesTest, EmptyActiveListIsStoredAsOneBlankEntry) {
  InSetup([](Agent&, FrmAgentSetup& f) { EXPECT_TRUE(f.SaveOptions()); });
  const auto file = ReadFile(kAgentDat);
  ASSERT_TRUE(file);
  ASSERT_EQ(file->size(), 12812u);
  EXPECT_EQ(Field(*file, 0), std::string(64, ' '));
  EXPECT_EQ(Field(*file, 64, 12800 - 64), std::string(12800 - 64, '\0'));
  InSetup([](Agent&, FrmAgentSetup& f) {
    EXPECT_TRUE(f.LoadOptions());
    EXPECT_EQ(f.lstActive->ListCount(), 0);
  });
}

TEST_F(OptionFilesTest, HundredNinetyNineHostsComeBackInOrder) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    for (int i = 0; i < 199; ++i) f.lstActive->AddItem("host" + std::to_string(i));
    EXPECT_TRUE(f.SaveOptions());
    f.lstActive->Clear();
    EXPECT_TRUE(f.LoadOptions());
    ASSERT_EQ(f.lstActive->ListCount(), 199);
    for (Integer i = 0; i < 199; ++i) EXPECT_EQ(f.lstActive->List(i), "host" + std::to_string(i));
  });
  const auto file = ReadFile(kAgentDat);
  ASSERT_TRUE(file);
  EXPECT_EQ(Field(*file, 64 * 199), std::string(64, ' '));  // entry 200 ends the list
}

TEST_F(OptionFilesTest, TwoHundredHostsAreNotStoredAndTheOldFileStays) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.lstActive->AddItem("keep");
    ASSERT_TRUE(f.SaveOptions());
  });
  const auto before = ReadFile(kAgentDat);
  InSetup([](Agent&, FrmAgentSetup& f) {
    for (int i = 1; i < 200; ++i) f.lstActive->AddItem("h" + std::to_string(i));
    ASSERT_EQ(f.lstActive->ListCount(), 200);
    EXPECT_FALSE(f.SaveOptions());
  });
  EXPECT_EQ(ReadFile(kAgentDat), before);
}

TEST_F(OptionFilesTest, NamesAreCutTrimmedAndALeadingBlankEndsTheList) {
  const std::string sLong(70, 'L');
  InSetup([&](Agent&, FrmAgentSetup& f) {
    f.lstActive->AddItem(sLong);
    f.lstActive->AddItem("trail   ");
    f.lstActive->AddItem(" lead");
    f.lstActive->AddItem("after");
    ASSERT_TRUE(f.SaveOptions());
    f.lstActive->Clear();
    ASSERT_TRUE(f.LoadOptions());
    ASSERT_EQ(f.lstActive->ListCount(), 2);
    EXPECT_EQ(f.lstActive->List(0), sLong.substr(0, 64));
    EXPECT_EQ(f.lstActive->List(1), "trail");
  });
}

TEST_F(OptionFilesTest, LoadSetsTheServicesFlagAndTheSeekFields) {
  Bytes file(12812, 0);
  for (std::size_t i = 0; i < 64; ++i) file[i] = ' ';
  file[12800] = file[12801] = 0xFF;
  file[12808] = file[12809] = 0xFF;
  ASSERT_TRUE(WriteFile(kAgentDat, file));
  InSetup([](Agent& a, FrmAgentSetup& f) {
    a.bActiveAgentServices = false;
    f.lstActive->AddItem("already");
    EXPECT_TRUE(f.LoadOptions());
    EXPECT_TRUE(a.bActiveAgentServices);
    EXPECT_TRUE(f.bSeekJobs);
    EXPECT_FALSE(f.bSeekIntranet);
    EXPECT_FALSE(f.bSeekWeb);
    EXPECT_FALSE(f.bSeekNews);
    EXPECT_FALSE(f.bSeekStocks);
    EXPECT_EQ(f.lstActive->ListCount(), 1);  // entries already listed stay in front
  });
}

TEST_F(OptionFilesTest, MissingOrShortFileChangesNothing) {
  InSetup([](Agent& a, FrmAgentSetup& f) {
    a.bActiveAgentServices = true;
    f.lstActive->AddItem("x");
    EXPECT_FALSE(f.LoadOptions());
    EXPECT_TRUE(a.bActiveAgentServices);
    EXPECT_EQ(f.lstActive->ListCount(), 1);
  });
  ASSERT_TRUE(WriteFile(kAgentDat, Bytes(100, 0)));
  InSetup([](Agent& a, FrmAgentSetup& f) {
    EXPECT_FALSE(f.LoadOptions());
    EXPECT_TRUE(a.bActiveAgentServices);
  });
}

TEST_F(OptionFilesTest, SaveKeepsBytesPastTheRecord) {
  Bytes old(13000, 0x5A);
  ASSERT_TRUE(WriteFile(kAgentDat, old));
  InSetup([](Agent&, FrmAgentSetup& f) { EXPECT_TRUE(f.SaveOptions()); });
  const auto file = ReadFile(kAgentDat);
  ASSERT_TRUE(file);
  ASSERT_EQ(file->size(), 13000u);
  EXPECT_EQ(Field(*file, 0), std::string(64, ' '));
  EXPECT_EQ(Field(*file, 12812, 188), std::string(188, 'Z'));
}

TEST_F(OptionFilesTest, FullDiskLeavesThePreviousFileWhole) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.lstActive->AddItem("first");
    ASSERT_TRUE(f.SaveOptions());
  });
  const auto before = ReadFile(kAgentDat);
  ASSERT_TRUE(before);
  lan_.World().SetDiskCapacity(host_, 'C', 100);
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.lstActive->AddItem("second");
    EXPECT_FALSE(f.SaveOptions());
  });
  EXPECT_EQ(ReadFile(kAgentDat), before);
}

TEST_F(OptionFilesTest, AgentInfoFileNameFollowsTheNumber) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    EXPECT_EQ(f.sAgentInfoFN, "AgentInfo_1");  // set when the window loads
    f.SetAgentInfoFN(7);
    EXPECT_EQ(f.sAgentInfoFN, "AgentInfo_7");
    f.SetAgentInfoFN(-3);
    EXPECT_EQ(f.sAgentInfoFN, "AgentInfo_-3");
  });
}

TEST_F(OptionFilesTest, AgentInfoLoadsWholeRecordsOnly) {
  for (std::size_t n : {0u, 1u, 3u}) {
    Bytes file;
    for (std::size_t k = 1; k <= n; ++k) {
      AgentInfoRecord rec;
      rec.sHostName.Assign("host" + std::to_string(k));
      const Bytes one = EncodeAgentInfoRecord(rec);
      file.insert(file.end(), one.begin(), one.end());
    }
    file.resize(file.size() + 8255, 'p');  // a partial record at the end
    ASSERT_TRUE(WriteFile(kAgentInfo1, file));
    InSetup([n](Agent&, FrmAgentSetup& f) {
      f.AgentInfoTable.assign(5, AgentInfoRecord{});
      EXPECT_TRUE(f.LoadAgentInfo());
      ASSERT_EQ(f.AgentInfoTable.size(), n);
      for (std::size_t k = 1; k <= n; ++k)
        EXPECT_EQ(f.AgentInfoTable[k - 1].sHostName.Trimmed(), "host" + std::to_string(k));
    });
  }
}

TEST_F(OptionFilesTest, AgentInfoIsReadWhenTheWindowLoads) {
  AgentInfoRecord rec;
  rec.sHostName.Assign("PC9");
  ASSERT_TRUE(WriteFile(kAgentInfo1, EncodeAgentInfoRecord(rec)));
  InSetup([](Agent&, FrmAgentSetup& f) {
    ASSERT_EQ(f.AgentInfoTable.size(), 1u);
    EXPECT_EQ(f.FindHostRecord("pc9"), 1);
  });
}

TEST_F(OptionFilesTest, AgentInfoSaveKeepsStaleTrailingRecords) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.AgentInfoTable.assign(3, AgentInfoRecord{});
    for (int i = 0; i < 3; ++i) f.AgentInfoTable[i].sHostName.Assign("old" + std::to_string(i));
    ASSERT_TRUE(f.SaveAgentInfo());
    f.AgentInfoTable.resize(1);
    f.AgentInfoTable[0].sHostName.Assign("new0");
    ASSERT_TRUE(f.SaveAgentInfo());
    ASSERT_TRUE(f.LoadAgentInfo());
    ASSERT_EQ(f.AgentInfoTable.size(), 3u);
    EXPECT_EQ(f.AgentInfoTable[0].sHostName.Trimmed(), "new0");
    EXPECT_EQ(f.AgentInfoTable[2].sHostName.Trimmed(), "old2");
  });
  const auto file = ReadFile(kAgentInfo1);
  ASSERT_TRUE(file);
  EXPECT_EQ(file->size(), 3u * 8256u);
  EXPECT_TRUE(Lines("msgbox").empty());
}

TEST_F(OptionFilesTest, AgentInfoSaveFailureShowsTheErrorBox) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.sAgentInfoFN.clear();  // the path is the agent's folder itself
    EXPECT_FALSE(f.SaveAgentInfo());
    EXPECT_FALSE(f.LoadAgentInfo());
  });
  const auto boxes = Lines("msgbox");
  ASSERT_EQ(boxes.size(), 1u);
  // Title, then the text with its carriage return before the description.
  EXPECT_NE(
      boxes[0].find(R"("Error" "Error #  75 was generated by Launch\rPath/File access error")"),
      std::string::npos)
      << boxes[0];
}

}  // namespace
}  // namespace launchagent::testing
