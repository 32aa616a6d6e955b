#include "VelmoraCommon/frame/GMBuffer.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

using Velmora::GMBuffer;

namespace
{

/// A block filled with \p block, of which \p length elements are content.
GMBuffer<char> Filled(std::string const & block, unsigned int length)
{
    GMBuffer<char> buffer(static_cast<unsigned int>(block.size()));
    block.copy(buffer.m_data, block.size());
    buffer.SetLength(length);
    return buffer;
}

std::string Block(GMBuffer<char> const & buffer)
{
    return std::string(buffer.m_data, buffer.m_data + buffer.m_capacity);
}

void ExpectEmpty(GMBuffer<char> const & buffer)
{
    EXPECT_EQ(0u, buffer.m_capacity);
    EXPECT_EQ(nullptr, buffer.m_data);
    EXPECT_EQ(0u, buffer.m_length);
}

TEST(GMBuffer, CopiesCarryTheSpareRoomAndOwnTheirBlock)
{
    GMBuffer<char> const source = Filled("content+spare", 7);
    GMBuffer<char> assigned = Filled("old", 3);
    assigned = source;
    GMBuffer<char> & same = assigned;
    assigned = same;
    for (GMBuffer<char> const & copy : {GMBuffer<char>(source), assigned})
    {
        EXPECT_EQ("content+spare", Block(copy));
        EXPECT_EQ(7u, copy.m_length);
        EXPECT_NE(source.m_data, copy.m_data);
    }
    GMBuffer<char> const empty;
    assigned = empty;
    ExpectEmpty(assigned);
}

TEST(GMBuffer, MovesHandTheBlockOver)
{
    GMBuffer<char> source = Filled("abc", 2);
    char const * const block = source.m_data;
    GMBuffer<char> built(std::move(source));
    ExpectEmpty(source);
    GMBuffer<char> assigned = Filled("old", 3);
    assigned = std::move(built);
    ExpectEmpty(built);
    EXPECT_EQ(block, assigned.m_data);
}

TEST(GMBuffer, ResizeKeepsTheHeadAndLeavesTheLength)
{
    GMBuffer<char> buffer = Filled("abcdef", 5);
    buffer.Resize(3);
    EXPECT_EQ("abc", Block(buffer));
    EXPECT_EQ(5u, buffer.m_length);
    buffer.SetLength(buffer.m_length);
    EXPECT_EQ(3u, buffer.m_length);

    buffer.Resize(8);
    EXPECT_EQ("abc", Block(buffer).substr(0, 3));
    buffer.Resize(0);
    buffer.SetLength(1);
    ExpectEmpty(buffer);
}

} // namespace
