#include "platform/EntryChunk.h"

#include <gtest/gtest.h>

#include <string>

namespace slicewise {
namespace {

TEST(EntryChunk, keepsNamesSizesAndTypesInTheOrderOfAppending)
{
    EntryChunk chunk;
    EXPECT_TRUE(chunk.empty());
    chunk.append("b", EntryType::RegularFile, 7);
    chunk.append("a longer name\nwith \xff bytes", EntryType::Directory, 0);
    chunk.append("a", EntryType::RegularFile, 1ULL << 40U);
    ASSERT_EQ(chunk.size(), 3U);
    EXPECT_EQ(chunk.name(chunk.entries()[0]), "b");
    EXPECT_EQ(chunk.name(chunk.entries()[1]), "a longer name\nwith \xff bytes");
    EXPECT_EQ(chunk.name(chunk.entries()[2]), "a");
    EXPECT_EQ(chunk.entries()[0].sizeBytes, 7U);
    EXPECT_EQ(chunk.entries()[1].type, EntryType::Directory);
    EXPECT_EQ(chunk.entries()[2].sizeBytes, 1ULL << 40U);
}

TEST(EntryChunk, keepsTheLongestNameThatItPromises)
{
    const std::string longest(65535, 'n');
    EntryChunk chunk;
    chunk.append("before", EntryType::RegularFile, 1);
    chunk.append(longest, EntryType::RegularFile, 2);
    chunk.append("after", EntryType::RegularFile, 3);
    EXPECT_EQ(chunk.name(chunk.entries()[1]), longest);
    EXPECT_EQ(chunk.name(chunk.entries()[2]), "after");
}

TEST(EntryChunk, changesTheSizeOfOneEntryAlone)
{
    EntryChunk chunk;
    chunk.append("a", EntryType::RegularFile, 1);
    chunk.append("b", EntryType::RegularFile, 2);
    chunk.setSize(0, 10);
    EXPECT_EQ(chunk.entries()[0].sizeBytes, 10U);
    EXPECT_EQ(chunk.entries()[1].sizeBytes, 2U);
}

TEST(EntryChunk, namesTheEntryThatAFailureIsAbout)
{
    EntryChunk chunk;
    chunk.append("a", EntryType::RegularFile, 1);
    chunk.append("b", EntryType::RegularFile, 0);
    chunk.addFailure(1, 5);
    ASSERT_EQ(chunk.failures().size(), 1U);
    EXPECT_EQ(chunk.failures()[0].entry, 1U);
    EXPECT_EQ(chunk.failures()[0].error, 5);
}

TEST(EntryChunk, startsAnewAfterClearing)
{
    EntryChunk chunk;
    chunk.append("old", EntryType::RegularFile, 1);
    chunk.addFailure(0, 5);
    chunk.clear();
    EXPECT_TRUE(chunk.empty());
    EXPECT_TRUE(chunk.failures().empty());
    chunk.append("new", EntryType::Directory, 0);
    ASSERT_EQ(chunk.size(), 1U);
    EXPECT_EQ(chunk.name(chunk.entries()[0]), "new");
}

} // namespace
} // namespace slicewise
