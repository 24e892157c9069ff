#include "RVResourceFork.h"
#include "ResourceForkBuilder.h"

#include <gtest/gtest.h>

namespace {

TEST(ResourceFork, FindsTheResourceByTypeAndIdOnly)
{
    const QByteArray record = QByteArray::fromHex("03601001");
    const QByteArray fork = resourceForkWith("vers", 1, record);
    EXPECT_EQ(RVResourceFromFork(fork, RVFourCC("vers"), 1), record);
    EXPECT_FALSE(RVResourceFromFork(fork, RVFourCC("vers"), 2));
    EXPECT_FALSE(RVResourceFromFork(fork, RVFourCC("STR "), 1));
}

TEST(ResourceFork, TruncatedOrCorruptForksHaveNoResources)
{
    const QByteArray fork = resourceForkWith("vers", 1, QByteArray::fromHex("00802101"));
    for (qsizetype cut : {qsizetype(0), qsizetype(15), qsizetype(200), qsizetype(259), fork.size() - 1})
        EXPECT_FALSE(RVResourceFromFork(fork.left(cut), RVFourCC("vers"), 1)) << cut;
    QByteArray huge = fork;
    huge[256] = '\x7f'; // data length far beyond the fork
    EXPECT_FALSE(RVResourceFromFork(huge, RVFourCC("vers"), 1));
}

} // namespace
