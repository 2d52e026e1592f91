#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "wfile/atomicfile.h"

namespace {

/// Gives a test an empty directory, removed at the end.
class AtomicFileTest : public testing::Test
{
protected:
    AtomicFileTest() : mDirectory(::mkdtemp(mName)) {}
    ~AtomicFileTest() override { std::filesystem::remove_all(mDirectory); }

    std::string path(const std::string& name) const { return mDirectory + "/" + name; }

    std::string create(const std::string& name, mode_t mode = 0644) const
    {
        std::ofstream(path(name)) << "before";
        EXPECT_EQ(::chmod(path(name).c_str(), mode), 0);
        return path(name);
    }

    std::string content(const std::string& name) const
    {
        std::ifstream file(path(name));
        return {std::istreambuf_iterator<char>(file), {}};
    }

    struct stat status(const std::string& name) const
    {
        struct stat found = {};
        EXPECT_EQ(::stat(path(name).c_str(), &found), 0);
        return found;
    }

    std::ptrdiff_t files() const
    {
        return std::distance(std::filesystem::directory_iterator(mDirectory), {});
    }

private:
    char mName[32] = "/tmp/atomicfile-XXXXXX";
    std::string mDirectory;
};

std::string problemOf(const WStatus& status) { return status.isOk() ? "none" : status.problem(); }

} // namespace

TEST_F(AtomicFileTest, aCheckCreatesNothing)
{
    EXPECT_TRUE(cAtomicFile(path("new")).check().isOk());
    EXPECT_EQ(files(), 0);
    EXPECT_TRUE(cAtomicFile(create("old")).check().isOk());
    EXPECT_EQ(content("old"), "before");
    EXPECT_EQ(files(), 1);
}

TEST_F(AtomicFileTest, aNewFileIsCreated)
{
    EXPECT_TRUE(cAtomicFile(path("new")).write("one").isOk());
    EXPECT_EQ(content("new"), "one");
    EXPECT_EQ(files(), 1);
}

TEST_F(AtomicFileTest, anOldFileIsReplacedAndItsOtherHardLinkIsNot)
{
    const cAtomicFile file(create("old"));
    std::filesystem::create_hard_link(path("old"), path("link"));
    EXPECT_TRUE(file.write("after").isOk());
    EXPECT_TRUE(file.write("").isOk());
    EXPECT_EQ(content("old"), "");
    EXPECT_EQ(content("link"), "before");
    EXPECT_EQ(files(), 2);
}

TEST_F(AtomicFileTest, theFileBehindALinkIsReplacedAndTheLinkStays)
{
    create("real");
    std::filesystem::create_symlink("real", path("link"));
    EXPECT_TRUE(cAtomicFile(path("link")).write("after").isOk());
    EXPECT_TRUE(std::filesystem::is_symlink(path("link")));
    EXPECT_EQ(content("real"), "after");
}

TEST_F(AtomicFileTest, aNewFileGetsTheModeThatTheMaskLeaves)
{
    const mode_t before = ::umask(027);
    EXPECT_TRUE(cAtomicFile(path("new")).write("one").isOk());
    ::umask(before);
    EXPECT_EQ(status("new").st_mode & 07777U, 0640U);
}

TEST_F(AtomicFileTest, anOldFileKeepsItsMode)
{
    EXPECT_TRUE(cAtomicFile(create("old", 0604)).write("after").isOk());
    EXPECT_EQ(status("old").st_mode & 07777U, 0604U);
}

TEST_F(AtomicFileTest, anOldFileKeepsItsOwner)
{
    // Only root can prepare another owner; for others the test shows their own.
    const int chowned = ::chown(create("old").c_str(), 12, 34);
    EXPECT_TRUE(chowned == 0 || ::geteuid() != 0);
    const struct stat before = status("old");
    EXPECT_TRUE(cAtomicFile(path("old")).write("after").isOk());
    EXPECT_EQ(status("old").st_uid, before.st_uid);
    EXPECT_EQ(status("old").st_gid, before.st_gid);
}

TEST_F(AtomicFileTest, theSiblingOfAnotherWriterIsLeftAlone)
{
    const std::string sibling = ".zul-" + std::to_string(::getpid()) + "-0";
    create(sibling);
    EXPECT_TRUE(cAtomicFile(path("new")).write("one").isOk());
    EXPECT_EQ(content(sibling), "before");
    EXPECT_EQ(content("new"), "one");
    EXPECT_EQ(files(), 2);
}

TEST_F(AtomicFileTest, aNameOfTheGreatestLengthIsReplaced)
{
    const std::string name(255, 'x');
    EXPECT_TRUE(cAtomicFile(create(name)).write("after").isOk());
    EXPECT_EQ(content(name), "after");
}

TEST_F(AtomicFileTest, theProblemIsNamed)
{
    EXPECT_EQ(problemOf(cAtomicFile(path("")).check()), "Is a directory");
    EXPECT_EQ(problemOf(cAtomicFile("/dev/null").check()), "Is no regular file");
    EXPECT_EQ(problemOf(cAtomicFile("/dev/null").write("one")), "Is no regular file");
    EXPECT_EQ(problemOf(cAtomicFile(path("none/new")).check()), "No such file or directory");
    EXPECT_EQ(problemOf(cAtomicFile("").check()), "No such file or directory");
    EXPECT_EQ(files(), 0);
}

TEST_F(AtomicFileTest, aDirectoryRemovedAfterTheCheckIsAnError)
{
    std::filesystem::create_directory(path("gone"));
    const cAtomicFile file(path("gone/new"));
    EXPECT_TRUE(file.check().isOk());
    std::filesystem::remove(path("gone"));
    EXPECT_EQ(problemOf(file.write("one")), "No such file or directory");
}
