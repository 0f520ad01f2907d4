#include "support/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <thread>

#include "testing/file_contents.h"
#include "testing/temporary_folder.h"

namespace norv {
namespace {

using testing::TemporaryFolder;

/// Expects that nothing can be read and that the target stays as it was.
void expectUnreadable(const std::string& path) {
  std::string contents = "as before";
  EXPECT_FALSE(File::readFileToString(path, &contents)) << path;
  EXPECT_EQ(contents, "as before") << path;
}

/// Why `path` cannot be read; "none" where it can.
std::string reasonFor(const std::string& path) {
  std::string contents = "as before";
  std::string reason = "none";
  const bool read = File::readFileToString(path, &contents, &reason);
  EXPECT_EQ(read, reason == "none") << path;
  EXPECT_TRUE(read || contents == "as before") << path;
  return reason;
}

std::string readSource(const std::string& relative) {
  return testing::contentsOf(CAMERA_PARAMETERS_SOURCE_DIR "/" + relative);
}

TEST(File, ReadsBytesAsTheyAre) {
  const TemporaryFolder folder;
  std::string bytes;
  for (int i = 0; i < 70000; ++i) bytes.push_back(static_cast<char>(i * 7));
  std::string contents = "replaced";
  ASSERT_TRUE(File::readFileToString(folder.write("bytes", bytes), &contents));
  EXPECT_EQ(contents, bytes);
  ASSERT_TRUE(File::readFileToString(folder.write("empty", ""), &contents));
  EXPECT_EQ(contents, "");
}

TEST(File, ReadsFilesWhoseSizeIsNotKnown) {
  std::string contents;
  ASSERT_TRUE(File::readFileToString("/proc/self/status", &contents));
  EXPECT_NE(contents.find("Name:"), std::string::npos);
}

TEST(File, FollowsLinks) {
  const TemporaryFolder folder;
  std::filesystem::create_symlink(folder.write("target", "text"), folder.path("link"));
  std::filesystem::create_symlink(folder.path("nowhere"), folder.path("dangling"));
  std::string contents;
  EXPECT_TRUE(File::readFileToString(folder.path("link"), &contents));
  EXPECT_EQ(contents, "text");
  expectUnreadable(folder.path("dangling"));
}

TEST(File, MissingFilesAndFolders) {
  const TemporaryFolder folder;
  expectUnreadable(folder.path("missing"));
  expectUnreadable("");
  expectUnreadable(folder.path());
  expectUnreadable(folder.write("file", "text") + "/below");
}

TEST(File, NullCharacterEndsNoPath) {
  const TemporaryFolder folder;
  expectUnreadable(folder.write("file", "text") + std::string("\0.txt", 5));
}

TEST(File, FifosAndDevicesAreNotWaitedFor) {
  const TemporaryFolder folder;
  const std::string fifo = folder.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  expectUnreadable(fifo);  // without a writer
  const int writer = ::open(fifo.c_str(), O_RDWR);
  ASSERT_GE(writer, 0);
  expectUnreadable(fifo);  // with one that writes nothing and never ends
  ASSERT_EQ(::write(writer, "text", 4), 4);
  expectUnreadable(fifo);
  ::close(writer);
  expectUnreadable("/dev/zero");
  expectUnreadable("/dev/null");
}

TEST(File, UnreadableFile) {
  const TemporaryFolder folder;
  const std::string path = folder.write("secret", "text");
  ASSERT_EQ(::chmod(path.c_str(), 0), 0);
  if (::geteuid() == 0) {
    // The superuser may read everything; a file whose reading itself fails stands in.
    expectUnreadable("/proc/self/mem");
  } else {
    expectUnreadable(path);
  }
}

TEST(File, LargestSize) {
  const TemporaryFolder folder;
  const std::string path = folder.write("large", "");
  // Sparse: takes no space on the disk.
  ASSERT_EQ(::truncate(path.c_str(), (off_t{1} << 31) + 1), 0);
  expectUnreadable(path);
  ASSERT_EQ(::truncate(path.c_str(), off_t{1} << 40), 0);
  expectUnreadable(path);
}

TEST(FileReason, NoneForAFileThatIsRead) {
  const TemporaryFolder folder;
  EXPECT_EQ(reasonFor(folder.write("file", "text")), "none");
  EXPECT_EQ(reasonFor(EmbeddedFile::kEmbeddedPrefix + "calibration/default_head_cal.txt"), "none");
}

TEST(FileReason, WhatTheSystemSays) {
  const TemporaryFolder folder;
  EXPECT_EQ(reasonFor(folder.path("missing")), "No such file or directory");
  EXPECT_EQ(reasonFor(""), "No such file or directory");
  EXPECT_EQ(reasonFor(folder.write("file", "text") + "/below"), "Not a directory");
  EXPECT_EQ(reasonFor(folder.path(std::string(256, 'x'))), "File name too long");
  std::filesystem::create_symlink(folder.path("link"), folder.path("link"));
  EXPECT_EQ(reasonFor(folder.path("link")), "Too many levels of symbolic links");
  // Its first page is never mapped: reading fails where opening does not.
  EXPECT_EQ(reasonFor("/proc/self/mem"), "Input/output error");
}

/// Gives up the superuser's rights on files for its scope.
class ScopedOrdinaryUser {
 public:
  ScopedOrdinaryUser() { EXPECT_EQ(::seteuid(is_superuser_ ? kNobody : ::geteuid()), 0); }
  ScopedOrdinaryUser(const ScopedOrdinaryUser&) = delete;
  ScopedOrdinaryUser& operator=(const ScopedOrdinaryUser&) = delete;
  ~ScopedOrdinaryUser() { EXPECT_EQ(::seteuid(is_superuser_ ? 0 : ::geteuid()), 0); }

 private:
  static constexpr ::uid_t kNobody = 65534;
  const bool is_superuser_ = ::geteuid() == 0;
};

TEST(FileReason, MissingPermission) {
  const TemporaryFolder folder;
  const std::string path = folder.write("secret", "text");
  ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod(path.c_str(), 0), 0);
  const ScopedOrdinaryUser user;
  EXPECT_EQ(reasonFor(path), "Permission denied");
}

TEST(FileReason, WhatIsNoRegularFile) {
  const TemporaryFolder folder;
  EXPECT_EQ(reasonFor(folder.path()), "Not a regular file but a folder");
  const std::string fifo = folder.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(reasonFor(fifo), "Not a regular file but a FIFO");
  EXPECT_EQ(reasonFor("/dev/null"), "Not a regular file but a device");
}

TEST(FileReason, TooLarge) {
  const TemporaryFolder folder;
  const std::string path = folder.write("large", "");
  ASSERT_EQ(::truncate(path.c_str(), (off_t{1} << 31) + 1), 0);
  EXPECT_EQ(reasonFor(path), "Larger than 2 GiB");
}

TEST(FileReason, NullCharacterInThePath) {
  const TemporaryFolder folder;
  EXPECT_EQ(reasonFor(folder.write("file", "text") + std::string("\0.txt", 5)),
            "Null character in the path");
}

TEST(FileReason, NotCompiledIn) {
  EXPECT_EQ(reasonFor(EmbeddedFile::kEmbeddedPrefix + "nothing.txt"), "No such compiled-in file");
}

TEST(File, ConcurrentReaders) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", std::string(100000, 'x'));
  std::vector<std::thread> threads;
  std::vector<std::string> contents(4);
  for (std::string& mine : contents) {
    threads.emplace_back([&mine, &path] { File::readFileToString(path, &mine); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& mine : contents) EXPECT_EQ(mine.size(), 100000U);
}

TEST(EmbeddedFile, PrefixReadsTheCompiledInFile) {
  const std::string name = "calibration/default_head_cal.txt";
  std::string contents;
  ASSERT_TRUE(File::readFileToString(EmbeddedFile::kEmbeddedPrefix + name, &contents));
  EXPECT_EQ(contents, readSource(name));
  EXPECT_FALSE(contents.empty());
}

TEST(EmbeddedFile, NameWithoutPrefixIsLookedUpInTheFileSystem) {
  const TemporaryFolder folder;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  expectUnreadable("calibration/default_head_cal.txt");
  std::filesystem::create_directory("calibration");
  folder.write("calibration/default_head_cal.txt", "from the file system");
  std::string contents;
  EXPECT_TRUE(File::readFileToString("calibration/default_head_cal.txt", &contents));
  EXPECT_EQ(contents, "from the file system");
  std::filesystem::current_path(before);
}

TEST(EmbeddedFile, OnlyCompiledInFilesAreFound) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "text");
  expectUnreadable(EmbeddedFile::kEmbeddedPrefix);
  expectUnreadable(EmbeddedFile::kEmbeddedPrefix + path);
  expectUnreadable(EmbeddedFile::kEmbeddedPrefix + "calibration/default_head_cal.tx");
  expectUnreadable(EmbeddedFile::kEmbeddedPrefix + "calibration/default_head_cal.txt ");
  expectUnreadable(EmbeddedFile::kEmbeddedPrefix + "calibration/example_ptz_cal.txt");
}

}  // namespace
}  // namespace norv
