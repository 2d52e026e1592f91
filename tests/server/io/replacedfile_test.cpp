#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "server/io/replacedfile.h"

using server::ReplacedFile;

namespace {

/// An empty directory that goes away again.
class ReplacedFileTest : public testing::Test
{
protected:
    ReplacedFileTest() : mPlace(::mkdtemp(mName)) {}
    ~ReplacedFileTest() override { std::filesystem::remove_all(mPlace); }

    std::string path(const std::string& name) const { return mPlace + "/" + name; }

    std::string content(const std::string& name) const
    {
        std::ifstream file(path(name));
        return {std::istreambuf_iterator<char>(file), {}};
    }

    size_t files() const
    {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(mPlace), {}));
    }

private:
    char mName[32] = "/tmp/replacedfile-XXXXXX";
    std::string mPlace;
};

} // namespace

TEST_F(ReplacedFileTest, aNewFileIsMadeAtTheEndOnly)
{
    ReplacedFile file;
    EXPECT_EQ(file.open(path("new")), "");
    EXPECT_EQ(files(), 0U);
    EXPECT_EQ(file.write("one"), "");
    EXPECT_EQ(content("new"), "one");
    EXPECT_EQ(files(), 1U);
}

TEST_F(ReplacedFileTest, anOldFileKeepsItsContentUntilThen)
{
    std::ofstream(path("old")) << "before";
    ReplacedFile file;
    EXPECT_EQ(file.open(path("old")), "");
    EXPECT_EQ(content("old"), "before");
    EXPECT_EQ(file.write("after"), "");
    EXPECT_EQ(content("old"), "after");
    EXPECT_EQ(files(), 1U);
}

TEST_F(ReplacedFileTest, theFileBehindALinkIsReplacedAndTheLinkStays)
{
    std::ofstream(path("real")) << "before";
    std::filesystem::create_symlink("real", path("link"));
    ReplacedFile file;
    EXPECT_EQ(file.open(path("link")), "");
    EXPECT_EQ(file.write("after"), "");
    EXPECT_TRUE(std::filesystem::is_symlink(path("link")));
    EXPECT_EQ(content("real"), "after");
}

TEST_F(ReplacedFileTest, onlyWhatItHasWrittenIsRemoved)
{
    std::ofstream(path("old")) << "before";
    ReplacedFile file;
    EXPECT_EQ(file.open(path("old")), "");
    file.remove();
    EXPECT_EQ(content("old"), "before");
    EXPECT_EQ(file.write("after"), "");
    file.remove();
    EXPECT_EQ(files(), 0U);
}

TEST_F(ReplacedFileTest, anybodyMayReadItAsFarAsTheMaskSays)
{
    const mode_t before = ::umask(027);
    ReplacedFile file;
    file.open(path("new"));
    file.write("one");
    ::umask(before);
    struct stat found = {};
    ASSERT_EQ(::stat(path("new").c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0640U);
}

TEST_F(ReplacedFileTest, whatCannotBeReplacedIsTold)
{
    ReplacedFile file;
    EXPECT_EQ(file.open(path("")), "Is a directory");
    EXPECT_EQ(file.open("/dev/null"), "Is no regular file");
    EXPECT_EQ(file.open(path("none/new")), "No such file or directory");
    EXPECT_EQ(file.open(""), "No such file or directory");
    EXPECT_EQ(files(), 0U);
}

TEST_F(ReplacedFileTest, aDirectoryThatHasGoneIsTold)
{
    std::filesystem::create_directory(path("gone"));
    ReplacedFile file;
    EXPECT_EQ(file.open(path("gone/new")), "");
    std::filesystem::remove(path("gone"));
    EXPECT_EQ(file.write("one"), "No such file or directory");
}
