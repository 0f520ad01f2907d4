#include "support/atomic_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <utility>

#include "support/file.h"
#include "testing/file_contents.h"
#include "testing/temporary_folder.h"
#include "testing/write_limits.h"

namespace norv {
namespace {

namespace fs = std::filesystem;
using testing::contentsOf;
using testing::ScopedFileSizeLimit;
using testing::ScopedOrdinaryUser;
using testing::TemporaryFolder;

int entriesOf(const std::string& folder) {
  return static_cast<int>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

int permissionsOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0);
  return static_cast<int>(status.st_mode & 07777);
}

/// Why a write fails, or "written".
std::string errorOf(const std::string& path, const std::string& contents = "new") {
  return writeFileAtomically(path, contents).value_or("written");
}

/// Writes a file that can be written.
void write(const std::string& path, const std::string& contents) {
  EXPECT_EQ(errorOf(path, contents), "written");
}

TEST(AtomicFile, MakesAFileWithOrdinaryPermissions) {
  const TemporaryFolder folder;
  const mode_t mask = ::umask(027);
  write(folder.path("new"), std::string("a\0b\n", 4));
  ::umask(mask);
  EXPECT_EQ(contentsOf(folder.path("new")), std::string("a\0b\n", 4));
  EXPECT_EQ(permissionsOf(folder.path("new")), 0640);
  EXPECT_EQ(entriesOf(folder.path()), 1);
}

TEST(AtomicFile, ReplacesAFileAndKeepsItsPermissions) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old and longer");
  for (const int permissions : {0600, 0644, 0755, 0660}) {
    ASSERT_EQ(::chmod(path.c_str(), static_cast<mode_t>(permissions)), 0);
    write(path, "new");
    EXPECT_EQ(contentsOf(path), "new");
    EXPECT_EQ(permissionsOf(path), permissions);
  }
  write(path, "");
  EXPECT_EQ(contentsOf(path), "");
  EXPECT_EQ(entriesOf(folder.path()), 1);
}

TEST(AtomicFile, LargeContents) {
  const TemporaryFolder folder;
  const std::string contents(8'000'000, 'x');
  write(folder.path("file"), contents);
  EXPECT_TRUE(contentsOf(folder.path("file")) == contents);
}

TEST(AtomicFile, NameAsLongAsNamesCanBe) {
  const TemporaryFolder folder;
  const std::string path = folder.path(std::string(255, 'n'));
  write(path, "new");
  EXPECT_EQ(contentsOf(path), "new");
}

TEST(AtomicFile, PathWithoutAFolder) {
  const TemporaryFolder folder;
  const fs::path before = fs::current_path();
  fs::current_path(folder.path());
  write("file", "new");
  fs::current_path(before);
  EXPECT_EQ(contentsOf(folder.path("file")), "new");
}

TEST(AtomicFile, LinkStays) {
  const TemporaryFolder folder;
  fs::create_directory(folder.path("inner"));
  folder.write("inner/file", "old");
  fs::create_symlink("inner/file", folder.path("relative"));
  fs::create_symlink(folder.path("relative"), folder.path("chain"));
  write(folder.path("chain"), "new");
  EXPECT_EQ(contentsOf(folder.path("inner/file")), "new");
  EXPECT_TRUE(fs::is_symlink(folder.path("chain")));
  EXPECT_TRUE(fs::is_symlink(folder.path("relative")));
  EXPECT_EQ(entriesOf(folder.path()), 3);
  EXPECT_EQ(entriesOf(folder.path("inner")), 1);
}

TEST(AtomicFile, LinkToAFileThatIsNotThereYet) {
  const TemporaryFolder folder;
  fs::create_symlink("target", folder.path("link"));
  write(folder.path("link"), "new");
  EXPECT_TRUE(fs::is_symlink(folder.path("link")));
  EXPECT_FALSE(fs::is_symlink(folder.path("target")));
  EXPECT_EQ(contentsOf(folder.path("target")), "new");
}

TEST(AtomicFile, LinksInACircle) {
  const TemporaryFolder folder;
  fs::create_symlink("b", folder.path("a"));
  fs::create_symlink("a", folder.path("b"));
  EXPECT_EQ(errorOf(folder.path("a")), "Too many levels of symbolic links");
  EXPECT_EQ(entriesOf(folder.path()), 2);
}

TEST(AtomicFile, OtherNamesOfTheFileKeepTheOldContents) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  fs::create_hard_link(path, folder.path("other"));
  write(path, "new");
  EXPECT_EQ(contentsOf(path), "new");
  EXPECT_EQ(contentsOf(folder.path("other")), "old");
}

TEST(AtomicFile, WhatIsNoFileIsRefused) {
  const TemporaryFolder folder;
  EXPECT_EQ(errorOf(folder.path()), "not a regular file");
  EXPECT_EQ(errorOf("/dev/null"), "not a regular file");
  const std::string fifo = folder.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(errorOf(fifo), "not a regular file");
  EXPECT_EQ(entriesOf(folder.path()), 1);
}

TEST(AtomicFile, PathsOfNoFile) {
  const TemporaryFolder folder;
  EXPECT_EQ(errorOf(folder.path("file") + std::string("\0.txt", 5)),
            "a null character in the path");
  EXPECT_EQ(errorOf(EmbeddedFile::kEmbeddedPrefix + "calibration/default_head_cal.txt"),
            "compiled-in files cannot be written");
  EXPECT_EQ(errorOf(""), "No such file or directory");
  EXPECT_EQ(entriesOf(folder.path()), 0);
}

TEST(AtomicFile, FolderThatIsNotThere) {
  const TemporaryFolder folder;
  const std::string path = folder.path("missing/file");
  EXPECT_EQ(errorOf(path), "No such file or directory");
  folder.write("file", "old");
  EXPECT_EQ(errorOf(folder.path("file/inner")), "Not a directory");
  EXPECT_EQ(contentsOf(folder.path("file")), "old");
}

TEST(AtomicFile, WriteProtectedFileIsLeftAlone) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
  ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
  {
    const ScopedOrdinaryUser user;
    EXPECT_EQ(errorOf(path), "Permission denied");
  }
  EXPECT_EQ(contentsOf(path), "old");
  EXPECT_EQ(entriesOf(folder.path()), 1);
}

TEST(AtomicFile, FolderWithoutPermission) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
  ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
  {
    const ScopedOrdinaryUser user;
    EXPECT_EQ(errorOf(path), "Permission denied");
    EXPECT_EQ(errorOf(folder.path("new")), "Permission denied");
  }
  EXPECT_EQ(contentsOf(path), "old");
  ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
}

TEST(AtomicFile, OldContentsStayWhenTheNewOnesDoNotFit) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  {
    const ScopedFileSizeLimit limit(1000);
    EXPECT_EQ(errorOf(path, std::string(5000, 'x')), "File too large");
    EXPECT_EQ(errorOf(folder.path("other"), std::string(5000, 'x')), "File too large");
  }
  EXPECT_EQ(contentsOf(path), "old");
  EXPECT_EQ(entriesOf(folder.path()), 1);
}

TEST(AtomicFile, ReadersSeeOneOrTheOther) {
  const TemporaryFolder folder;
  const std::string contents[] = {std::string(200'000, 'a'), std::string(150'000, 'b')};
  const std::string path = folder.write("file", contents[0]);
  std::atomic<bool> done = false;
  std::thread writer([&] {
    for (int i = 1; i <= 60; ++i) write(path, contents[i % 2]);
    done = true;
  });
  int others = 0;
  while (!done) {
    const std::string seen = contentsOf(path);
    if (seen != contents[0] && seen != contents[1]) ++others;
  }
  writer.join();
  EXPECT_EQ(others, 0);
}

/// Writes a file over and over, in a process of its own, until a signal ends that.
class EndlessWriter {
 public:
  EndlessWriter(const std::string& path, const std::string& one, const std::string& other)
      : process_(::fork()) {
    while (process_ == 0) {
      write(path, one);
      write(path, other);
    }
  }
  EndlessWriter(const EndlessWriter&) = delete;
  EndlessWriter& operator=(const EndlessWriter&) = delete;
  ~EndlessWriter() { end(SIGKILL); }

  /// Sends the signal, waits, and returns the signal that ended the process; 0 if none did.
  int end(int signal) {
    if (process_ <= 0) return 0;
    ::kill(process_, signal);
    int status = 0;
    ::waitpid(std::exchange(process_, 0), &status, 0);
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  }

 private:
  pid_t process_;
};

TEST(AtomicFile, SignalsLeaveNothingBehind) {
  const std::string one(20'000, '1');
  const std::string other(30'000, '2');
  std::mt19937 random(7);
  for (int i = 0; i < 200; ++i) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", one);
    const int signal = std::array<int, 3>{SIGINT, SIGTERM, SIGHUP}[static_cast<std::size_t>(i % 3)];
    EndlessWriter writer(path, other, one);
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
    EXPECT_EQ(writer.end(signal), signal);
    EXPECT_EQ(entriesOf(folder.path()), 1);
    const std::string contents = contentsOf(path);
    EXPECT_TRUE(contents == one || contents == other) << contents.size();
  }
}

TEST(AtomicFile, AKilledWriterLeavesTheOldOrTheNewContents) {
  const std::string one(20'000, '1');
  const std::string other(30'000, '2');
  std::mt19937 random(11);
  for (int i = 0; i < 100; ++i) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", one);
    EndlessWriter writer(path, other, one);
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
    EXPECT_EQ(writer.end(SIGKILL), SIGKILL);
    const std::string contents = contentsOf(path);
    EXPECT_TRUE(contents == one || contents == other) << contents.size();
    EXPECT_LE(entriesOf(folder.path()), 2);  // the temporary file may be left
  }
}

TEST(AtomicFile, SignalsAreNotHeldBackAfterwards) {
  const TemporaryFolder folder;
  sigset_t before;
  sigset_t after;
  ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, nullptr, &before), 0);
  write(folder.path("file"), "new");
  EXPECT_NE(errorOf(folder.path("missing/file")), "written");
  ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, nullptr, &after), 0);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGXFSZ}) {
    EXPECT_EQ(sigismember(&after, signal), sigismember(&before, signal));
  }
}

}  // namespace
}  // namespace norv
