#include "tools/output/backup.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "testing/file_contents.h"
#include "testing/temporary_folder.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

namespace fs = std::filesystem;
using testing::contentsOf;
using testing::TemporaryFolder;

/// Makes a copy that stays, and returns its path, or "" where there is none.
std::string keepCopy(const std::string& path) {
  Backup backup(path);
  backup.keep();
  return backup.path().value_or("");
}

TEST(Backup, CopiesContentsPermissionsAndTime) {
  const TemporaryFolder folder;
  const std::string file = folder.write("file", std::string("a\0b", 3));
  fs::permissions(file, fs::perms(0640));
  const auto time = fs::last_write_time(file) - std::chrono::hours(100);
  fs::last_write_time(file, time);
  const std::string copy = keepCopy(file);
  EXPECT_EQ(copy, file + ".bak");
  EXPECT_EQ(contentsOf(copy), std::string("a\0b", 3));
  EXPECT_EQ(fs::status(copy).permissions(), fs::perms(0640));
  EXPECT_EQ(fs::last_write_time(copy), time);
}

TEST(Backup, NoOlderCopyIsLost) {
  const TemporaryFolder folder;
  const std::string file = folder.write("file", "third");
  folder.write("file.bak", "first");
  fs::create_symlink("nowhere", folder.path("file.bak2"));
  EXPECT_EQ(keepCopy(file), file + ".bak3");
  EXPECT_EQ(contentsOf(folder.path("file.bak")), "first");
  EXPECT_TRUE(fs::is_symlink(folder.path("file.bak2")));
  EXPECT_FALSE(fs::exists(folder.path("nowhere")));
  EXPECT_EQ(contentsOf(folder.path("file.bak3")), "third");
}

TEST(Backup, GoesUnlessItIsToStay) {
  const TemporaryFolder folder;
  const std::string file = folder.write("file", "contents");
  {
    const Backup backup(file);
    EXPECT_TRUE(fs::exists(file + ".bak"));
  }
  EXPECT_FALSE(fs::exists(file + ".bak"));
  EXPECT_EQ(contentsOf(file), "contents");
}

TEST(Backup, LiesBesideWhatALinkLeadsTo) {
  const TemporaryFolder folder;
  const TemporaryFolder elsewhere;
  const std::string file = elsewhere.write("file", "contents");
  fs::create_symlink(file, folder.path("link"));
  EXPECT_EQ(keepCopy(folder.path("link")), fs::canonical(file).string() + ".bak");
  EXPECT_EQ(contentsOf(file + ".bak"), "contents");
}

TEST(Backup, WithoutARegularFileThereIsNone) {
  const TemporaryFolder folder;
  fs::create_symlink("nowhere", folder.path("link"));
  for (const std::string& path :
       {folder.path("missing"), folder.path(), folder.path("link"), std::string("/dev/null")}) {
    EXPECT_EQ(keepCopy(path), "") << path;
  }
}

TEST(Backup, NameThatIsTooLong) {
  const TemporaryFolder folder;
  const std::string file = folder.write(std::string(255, 'n'), "contents");
  try {
    keepCopy(file);
    ADD_FAILURE() << "a name of 259 characters";
  } catch (const ToolError& error) {
    EXPECT_EQ(error.what(), file + ".bak: cannot be written: File name too long");
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
}

}  // namespace
}  // namespace norv::tools
