// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#include "host/feed/FileFeed.h"

#include <fstream>
#include <string_view>

#include "host/store/StateStore.h"
#include "tests/support/ScratchDirectory.h"

namespace Feed {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A document with one tunnel index, by which it is told from others.
std::string documentOf(unsigned index) {
   return R"({"tunnelIndexForTunnelSpecId": {"cli:a": )" + std::to_string(index) + "}}";
}

/// A head end whose state file is <top>/run/state.json.
class FileFeedTest : public ::testing::Test {
 protected:
   FileFeedTest() { fs::create_directory(top / "run"); }

   static void write(fs::path const& path, std::string_view text) { std::ofstream(path, std::ios::binary) << text; }
   /// Replaces the state file as a careful publisher does.
   void publish(std::string_view text) {
      write(file.string() + ".new", text);
      fs::rename(file.string() + ".new", file);
   }

   bool start(std::uintmax_t largest = FileFeed::kLargest) {
      feed = std::make_unique<FileFeed>(queue, file.string(), events(), largest);
      return load();
   }
   FileFeed::Events events() {
      auto const note = [this](std::string const& line) { lines.push_back(line); };
      return {[this](std::size_t) { ++loads; }, note, note};
   }
   /// Whether the state is what the file says.
   bool load() {
      int const before = loads;
      feed->load();
      tasks->runAll();
      return loads > before;
   }

   /// What the host's loop does. The kernel queues an event before the call that caused it returns, so there is nothing
   /// to wait for.
   void runLoop() {
      pollfd waiting{feed->descriptor(), POLLIN, 0};
      while (poll(&waiting, 1, 0) > 0) feed->handleReadable();
      tasks->runAll();
   }

   /// The tunnel index of the state, 0 when it is empty.
   unsigned index() const {
      auto const id = Rsvp::RsvpLerTunnelSpecId::fromText("cli:a");
      return store.lerHiveStatus()->tunnelIndexMap()->tunnelIndexForTunnelSpecId()[id];
   }
   /// The reported lines since the last call, without the directory.
   std::vector<std::string> reported() {
      std::vector<std::string> taken;
      for (std::string const& line : std::exchange(lines, {})) {
         std::string const name = file.string() + ": ";
         EXPECT_EQ(line.substr(0, name.size()), name);
         taken.push_back(line.substr(name.size()));
      }
      return taken;
   }

   TestSupport::ScratchDirectory const scratch;
   fs::path const top = scratch.path();
   fs::path file = top / "run" / "state.json";
   Vel::Ptr<Vel::EntityDir> root = Vel::makePtr<Vel::EntityDir>("root");
   Store::StateStore store{root};
   Vel::Ptr<Orb::TaskScheduler> const tasks = Orb::TaskSchedulerRoot::findOrCreateScheduler();
   Store::ChangeQueue queue{store};
   std::unique_ptr<FileFeed> feed;
   int loads = 0;

   std::vector<std::string> lines;
};

// ---- The ways in which a file changes

TEST_F(FileFeedTest, TheFileIsLoaded) {
   write(file, documentOf(1));
   EXPECT_TRUE(start());
   EXPECT_EQ(index(), 1U);
   runLoop();
   EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(FileFeedTest, ReadAgainAFileThatIsAsItWasLeavesWhatOthersHaveChangedSince) {
   write(file, documentOf(1));
   ASSERT_TRUE(start());
   store.applyPatch(documentOf(2));
   feed->reload();
   tasks->runAll();
   EXPECT_EQ(index(), 2U);
   EXPECT_EQ(loads, 1);

   publish("nonsense");
   runLoop();
   EXPECT_EQ(reported().size(), 1U);
   publish(documentOf(1));
   runLoop();
   EXPECT_EQ(index(), 1U) << "who replaces the file means what stands in it";

   store.applyPatch(documentOf(2));
   fs::create_hard_link(file, top / "another name");
   write(top / "another name", documentOf(3));
   feed->reload();
   tasks->runAll();
   EXPECT_EQ(index(), 3U) << "a change that went unnoticed";
   EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(FileFeedTest, AFileReplacedByRenameIsApplied) {
   write(file, documentOf(1));
   start();
   for (unsigned version : {2U, 3U, 4U}) {
      publish(documentOf(version));
      runLoop();
      EXPECT_EQ(index(), version);
   }
   EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(FileFeedTest, AFileRewrittenInPlaceIsApplied) {
   write(file, documentOf(1));
   start();
   write(file, documentOf(2));
   runLoop();
   EXPECT_EQ(index(), 2U);
   EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(FileFeedTest, AFileIsReadWhenItsWriterHasFinished) {
   write(file, documentOf(1));
   start();
   std::string const text = documentOf(2);
   std::ofstream out(file, std::ios::binary | std::ios::trunc);
   out << text.substr(0, 20) << std::flush;
   runLoop();
   out << text.substr(20, 10) << std::flush;
   runLoop();
   EXPECT_EQ(index(), 1U);
   EXPECT_THAT(reported(), IsEmpty()) << "half of it is nobody's business";
   out << text.substr(30);
   out.close();
   runLoop();
   EXPECT_EQ(index(), 2U);
   EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(FileFeedTest, AFileDeletedAndMadeAnewIsApplied) {
   write(file, documentOf(1));
   start();
   fs::remove(file);
   runLoop();
   EXPECT_EQ(index(), 1U) << "the state stays when the file goes";
   EXPECT_THAT(reported(), ElementsAre("No such file or directory"));

   std::ofstream out(file, std::ios::binary);
   out << documentOf(2).substr(0, 20) << std::flush;
   runLoop();
   EXPECT_THAT(reported(), IsEmpty()) << "a new file is read when its writer has finished, too";
   out << documentOf(2).substr(20);
   out.close();
   runLoop();
   EXPECT_EQ(index(), 2U);
   EXPECT_THAT(reported(), IsEmpty());

   fs::remove(file);
   write(file, documentOf(3));
   runLoop();
   EXPECT_EQ(index(), 3U);
   EXPECT_THAT(reported(), IsEmpty()) << "it was there again before anybody looked";
}

TEST_F(FileFeedTest, AFileMovedAwayAndBackIsApplied) {
   write(file, documentOf(1));
   start();
   fs::rename(file, top / "aside.json");
   runLoop();
   EXPECT_THAT(reported(), ElementsAre("No such file or directory"));
   write(top / "aside.json", documentOf(2));
   runLoop();
   EXPECT_EQ(index(), 1U);
   fs::rename(top / "aside.json", file);
   runLoop();
   EXPECT_EQ(index(), 2U);
}

TEST_F(FileFeedTest, AHardLinkIsAFileAtOnce) {
   start();
   write(top / "prepared.json", documentOf(2));
   fs::create_hard_link(top / "prepared.json", file);
   runLoop();
   EXPECT_EQ(index(), 2U);
}

TEST_F(FileFeedTest, ASymbolicLinkThatIsSwitchedIsFollowed) {
   fs::create_directory(top / "versions");
   write(top / "versions" / "1.json", documentOf(1));
   write(top / "versions" / "2.json", documentOf(2));
   fs::create_symlink("../versions/1.json", file);
   start();
   EXPECT_EQ(index(), 1U);

   fs::create_symlink(top / "versions" / "2.json", file.string() + ".new");
   fs::rename(file.string() + ".new", file);
   runLoop();
   EXPECT_EQ(index(), 2U) << "renamed into place";

   fs::remove(file);
   fs::create_symlink("../versions/1.json", file);
   runLoop();
   EXPECT_EQ(index(), 1U) << "made anew";

   write(top / "versions" / "1.json", documentOf(7));
   runLoop();
   EXPECT_EQ(index(), 7U) << "the file that it leads to, rewritten";
   write(top / "versions" / "1.new", documentOf(8));
   fs::rename(top / "versions" / "1.new", top / "versions" / "1.json");
   runLoop();
   EXPECT_EQ(index(), 8U) << "the file that it leads to, replaced";
   write(top / "versions" / "2.json", documentOf(9));
   runLoop();
   EXPECT_EQ(index(), 8U) << "the file that it led to before";
   EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(FileFeedTest, ALinkedDirectoryThatIsSwitchedIsFollowed) {
   for (unsigned version : {1U, 2U}) {
      fs::create_directory(top / "run" / std::to_string(version));
      write(top / "run" / std::to_string(version) / "state.json", documentOf(version));
   }
   fs::create_symlink("1", top / "run" / "current");
   fs::create_symlink("current/state.json", file);
   start();
   EXPECT_EQ(index(), 1U);
   fs::create_symlink("2", top / "run" / "next");
   fs::rename(top / "run" / "next", top / "run" / "current");
   runLoop();
   EXPECT_EQ(index(), 2U);
   EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(FileFeedTest, ADirectoryThatGoesAndComesBackIsFollowed) {
   write(file, documentOf(1));
   start();
   fs::remove_all(top / "run");
   runLoop();
   EXPECT_EQ(index(), 1U);
   EXPECT_THAT(reported(), ElementsAre("No such file or directory"));

   fs::create_directory(top / "run");
   runLoop();
   write(file, documentOf(2));
   runLoop();
   EXPECT_EQ(index(), 2U) << "made anew, and later the file in it";

   fs::rename(top / "run", top / "old");
   runLoop();
   fs::create_directory(top / "run");
   write(file, documentOf(3));
   runLoop();
   EXPECT_EQ(index(), 3U) << "made anew with the file in it, before anybody looked";

   fs::remove_all(top / "run");
   fs::rename(top / "old", top / "run");
   runLoop();
   EXPECT_EQ(index(), 2U) << "moved back into place";
   publish(documentOf(4));
   runLoop();
   EXPECT_EQ(index(), 4U) << "and followed there";
}

TEST_F(FileFeedTest, AFileWhoseDirectoriesDoNotExistYetIsWaitedFor) {
   file = top / "not" / "there" / "yet.json";
   EXPECT_FALSE(start());
   EXPECT_THAT(reported(), ElementsAre("No such file or directory"));
   fs::create_directory(top / "not");
   runLoop();
   fs::create_directory(top / "not" / "there");
   runLoop();
   EXPECT_THAT(reported(), IsEmpty());
   write(file, documentOf(1));
   runLoop();
   EXPECT_EQ(index(), 1U);
}

TEST_F(FileFeedTest, OtherFilesOfTheDirectoryAreNotReadFor) {
   write(file, documentOf(1));
   start();
   store.replace("{}");
   write(top / "run" / "other.json", documentOf(2));
   fs::rename(top / "run" / "other.json", top / "run" / "state.json.bak");
   fs::remove(top / "run" / "state.json.bak");
   fs::create_directory(top / "elsewhere");
   runLoop();
   EXPECT_EQ(index(), 0U);
}

TEST_F(FileFeedTest, ARelativeNameIsThatOfTheStart) {
   fs::path const before = fs::current_path();
   write(file, documentOf(1));
   fs::current_path(top);
   file = "run/state.json";
   start();
   fs::current_path("/");
   write(top / "run" / "state.json", documentOf(2));
   runLoop();
   fs::current_path(before);
   EXPECT_EQ(index(), 2U);
   EXPECT_THAT(reported(), IsEmpty());
}

// ---- What is applied

TEST_F(FileFeedTest, OnlyTheDifferenceIsApplied) {
   write(file, R"({"subTunnelStatus": {"cli:a": {"up": true}, "cli:b": {}}})");
   start();
   auto const statusOf = [this](std::string_view text) {
      auto const id = Rsvp::RsvpLerSubTunnelConfigId::fromText(text);
      auto const coll = store.lerHiveStatus()->subTunnelStatusCollTable()->subTunnelStatusColl()[id.tunnelSpecId()];
      return coll ? coll->subTunnelStatus()[id] : nullptr;
   };
   auto const before = statusOf("cli:a");
   publish(R"({"subTunnelStatus": {"cli:a": {"up": false}}})");
   runLoop();
   EXPECT_EQ(statusOf("cli:a"), before);
   EXPECT_FALSE(before->up());
   EXPECT_FALSE(statusOf("cli:b"));
}

// ---- What is reported

TEST_F(FileFeedTest, WhatIsWrongWithTheFileIsSaidOnceAndChangesNothing) {
   write(file, documentOf(1));
   start();
   struct Bad {
      std::string content, problem;
   };
   for (auto const& [content, problem] :
        {Bad{"", "the file is empty"}, Bad{" \n", "line 2, column 1: the text is empty"},
         Bad{documentOf(2).substr(0, 30), "line 1, column 31: the text ends too early"},
         Bad{"{\n  \"pathSpec\": 1\n}", "/pathSpec: expected an object but found 1"},
         Bad{R"({"tunnelIndexForTunnelSpecId": {"cli:a": 2, "cli:b": -1}})",
             "/tunnelIndexForTunnelSpecId/cli:b: expected an integer from 0 to 4294967295 but found -1"}}) {
      publish(content);
      runLoop();
      EXPECT_THAT(reported(), ElementsAre(problem));
      EXPECT_EQ(index(), 1U);
      publish(content);
      write(file, content);
      runLoop();
      EXPECT_THAT(reported(), IsEmpty()) << "it has not changed: " << problem;
   }
   publish(documentOf(3));
   runLoop();
   EXPECT_EQ(index(), 3U) << "a good file is welcome at any time";
}

TEST_F(FileFeedTest, AnotherFileWithTheSameFaultIsReportedToo) {
   write(file, documentOf(1));
   start();
   publish(R"({"pathSpec": 1})");
   runLoop();
   publish(R"({"pathSpec": 1, "spStatus": {}})");
   runLoop();
   EXPECT_THAT(reported(),
               ElementsAre("/pathSpec: expected an object but found 1", "/pathSpec: expected an object but found 1"));
   publish(documentOf(2));
   runLoop();
   publish(R"({"pathSpec": 1})");
   runLoop();
   EXPECT_THAT(reported(), ElementsAre("/pathSpec: expected an object but found 1"))
         << "and one that was good meanwhile";
}

TEST_F(FileFeedTest, AMissingFileIsReportedAtTheStart) {
   EXPECT_FALSE(start());
   EXPECT_THAT(reported(), ElementsAre("No such file or directory"));
   publish(documentOf(1));
   runLoop();
   EXPECT_EQ(index(), 1U);
}

TEST_F(FileFeedTest, WhatIsNoFileIsReported) {
   fs::create_directory(file);
   EXPECT_FALSE(start());
   EXPECT_THAT(reported(), ElementsAre("this is not a regular file"));
   fs::remove(file);
   ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
   runLoop();
   EXPECT_THAT(reported(), IsEmpty()) << "the same fault";
   fs::remove(file);
   fs::create_symlink(file, file);
   runLoop();
   EXPECT_THAT(reported(), ElementsAre("Too many levels of symbolic links"));
   fs::remove(file);
   write(file, documentOf(1));
   runLoop();
   EXPECT_EQ(index(), 1U);
}

TEST_F(FileFeedTest, AFileThatIsTooLargeIsNotRead) {
   std::string const document = documentOf(1);
   write(file, document);
   EXPECT_TRUE(start(document.size()));
   publish(documentOf(2) + " ");
   runLoop();
   EXPECT_THAT(reported(), ElementsAre("the file is larger than " + std::to_string(document.size()) + " octets"));
   EXPECT_EQ(index(), 1U);

   start();
   write(file, "{");
   fs::resize_file(file, FileFeed::kLargest + 1);
   EXPECT_FALSE(load());
   EXPECT_THAT(reported(), ElementsAre("the file is larger than 1073741824 octets"));
}

/// Everything is readable to root: while this lives, root is somebody else, who owns the files given.
class OrdinaryUser {
 public:
   explicit OrdinaryUser(std::initializer_list<fs::path> files) {
      if (!wasRoot) return;
      for (fs::path const& path : files) EXPECT_EQ(chown(path.c_str(), kNobody, kNobody), 0) << path;
      EXPECT_EQ(seteuid(kNobody), 0);
   }
   ~OrdinaryUser() { EXPECT_TRUE(!wasRoot || seteuid(0) == 0); }

 private:
   static constexpr uid_t kNobody = 65534;
   bool const wasRoot = geteuid() == 0;
};

TEST_F(FileFeedTest, AFileThatBecomesReadableIsRead) {
   write(file, documentOf(1));
   OrdinaryUser const user({top, top / "run", file});
   fs::permissions(file, fs::perms::none);
   EXPECT_FALSE(start());
   EXPECT_THAT(reported(), ElementsAre("Permission denied"));
   fs::permissions(file, fs::perms::owner_read);
   runLoop();
   EXPECT_EQ(index(), 1U);

   fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
   store.replace("{}");
   runLoop();
   EXPECT_EQ(index(), 0U) << "new permissions of a file that was readable are no change of it";
}

TEST_F(FileFeedTest, ADirectoryThatCannotBeWatchedIsReported) {
   write(file, documentOf(1));
   OrdinaryUser const user({top, top / "run", file});
   fs::permissions(file.parent_path(), fs::perms::owner_exec);
   EXPECT_TRUE(start()) << "a directory may be searched though it cannot be listed";
   EXPECT_THAT(reported(), ElementsAre("changes in the directory " + file.parent_path().string() +
                                       " cannot be noticed: Permission denied"));
   write(file, documentOf(2));
   runLoop();
   EXPECT_EQ(index(), 1U);
   fs::permissions(file.parent_path(), fs::perms::owner_all);
   runLoop();
   EXPECT_EQ(index(), 2U) << "what happened meanwhile is caught up with";
   publish(documentOf(3));
   runLoop();
   EXPECT_EQ(index(), 3U);
   EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(FileFeedTest, ANameWithControlCharactersIsOneLine) {
   file = top / "a\nb";
   EXPECT_FALSE(start());
   EXPECT_THAT(lines, ElementsAre(top.string() + "/a\\x0ab: No such file or directory"));
}

// ---- Loading in slices

/// Every slice is over when a task asks.
class SlicedFileFeedTest : public FileFeedTest {
 protected:
   SlicedFileFeedTest() {
      tasks->yieldPolicyIs([] { return true; });
   }
   ~SlicedFileFeedTest() override { tasks->yieldPolicyIs(nullptr); }

   /// What the host's loop does when it gives the tasks one slice.
   void handleEvents() {
      pollfd waiting{feed->descriptor(), POLLIN, 0};
      while (poll(&waiting, 1, 0) > 0) feed->handleReadable();
   }
   void runSlice() { tasks->runSlice(std::chrono::microseconds(0)); }

   /// A document of more than a megabyte: it is read in pieces.
   static std::string largeDocumentOf(unsigned index) {
      std::string document = documentOf(index);
      return document.insert(document.size() - 1, 1'000'000, ' ');
   }
};

TEST_F(SlicedFileFeedTest, NothingChangesBeforeAllIsReadAndChecked) {
   write(file, largeDocumentOf(1));
   feed = std::make_unique<FileFeed>(queue, file.string(), events());
   feed->load();
   int slices = 0;
   for (; index() == 0 && tasks->hasWork(); ++slices) runSlice();
   EXPECT_GT(slices, 4) << "it is read and checked in several, before the first change";
   EXPECT_EQ(loads, 0) << "and applied in further ones";
   tasks->runAll();
   EXPECT_EQ(index(), 1U);
   EXPECT_EQ(loads, 1);
}

TEST_F(SlicedFileFeedTest, AFileThatChangesWhileItIsLoadedIsLoadedOnceMore) {
   write(file, largeDocumentOf(1));
   feed = std::make_unique<FileFeed>(queue, file.string(), events());
   feed->load();
   for (unsigned version : {2U, 3U, 4U}) {
      runSlice();
      publish(largeDocumentOf(version));
      handleEvents();
   }
   tasks->runAll();
   EXPECT_EQ(index(), 4U);
   EXPECT_EQ(loads, 2) << "what comes while a file is loaded waits, and the last of it counts";
   EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(SlicedFileFeedTest, WhatIsWrongWithAFileThatHasChangedMeanwhileIsNotReported) {
   write(file, largeDocumentOf(1));
   start();
   publish("{");
   handleEvents();
   runSlice();
   publish(documentOf(2));
   handleEvents();
   tasks->runAll();
   EXPECT_EQ(index(), 2U);
   EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(SlicedFileFeedTest, AFeedThatGoesWhileItLoadsLeavesNothingToDo) {
   write(file, largeDocumentOf(1));
   feed = std::make_unique<FileFeed>(queue, file.string(), events());
   feed->load();
   runSlice();
   EXPECT_TRUE(tasks->hasWork());
   feed.reset();
   EXPECT_FALSE(tasks->hasWork());
   EXPECT_EQ(index(), 0U);
}

}  // namespace
}  // namespace Feed
