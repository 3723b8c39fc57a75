#include "core/IMS_queue_manager.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/log_records.h"

#include <gtest/gtest.h>

namespace {

class AQueue : public testing::Test {
protected:
    void fill(int count)
    {
        for (int i = 0; i < count; ++i)
            ASSERT_EQ(queue.enqueue(&elements[i]), QUEUE_OK);
    }
    _Q_ELEMENT_T elements[60] = {};
    LogRecords log;
    IMS_queue_manager queue;
};

TEST_F(AQueue, StartsEmpty)
{
    EXPECT_TRUE(queue.isEmpty());
}

TEST_F(AQueue, GivesElementsBackInTheOrderTheyCame)
{
    fill(51);
    EXPECT_FALSE(queue.isEmpty());
    for (int i = 0; i < 51; ++i) {
        _Q_ELEMENT_T* element = nullptr;
        ASSERT_EQ(queue.dequeue(&element), QUEUE_OK);
        EXPECT_EQ(element, &elements[i]);
    }
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_TRUE(log.all().empty());
}

TEST_F(AQueue, AcceptsThe51stElement)
{
    fill(50);
    EXPECT_EQ(queue.enqueue(&elements[50]), QUEUE_OK);
    EXPECT_TRUE(log.all().empty());
}

TEST_F(AQueue, RefusesThe52ndElementAndSaysSo)
{
    fill(51);
    EXPECT_EQ(queue.enqueue(&elements[51]), QUEUE_OVERFLOW);
    const std::vector<LogRecord> wanted = {
        {4, "enqueue", "Message queue overflow! - Enqueue operation failed"}};
    EXPECT_EQ(log.all(), wanted);
}

TEST_F(AQueue, TakesElementsAgainAfterARefusal)
{
    fill(51);
    queue.enqueue(&elements[51]);
    _Q_ELEMENT_T* element = nullptr;
    ASSERT_EQ(queue.dequeue(&element), QUEUE_OK);
    EXPECT_EQ(queue.enqueue(&elements[52]), QUEUE_OK);
    while (!queue.isEmpty())
        queue.dequeue(&element);
    EXPECT_EQ(element, &elements[52]);
}

TEST_F(AQueue, RefusesNull)
{
    EXPECT_EQ(queue.enqueue(nullptr), QUEUE_NULL_ELEMENT);
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_TRUE(log.all().empty());
}

TEST_F(AQueue, RefusesNullAlsoWhenFull)
{
    fill(51);
    EXPECT_EQ(queue.enqueue(nullptr), QUEUE_NULL_ELEMENT);
    EXPECT_TRUE(log.all().empty());
}

TEST_F(AQueue, LeavesTheArgumentAloneWhenItIsEmpty)
{
    _Q_ELEMENT_T* element = &elements[7];
    EXPECT_EQ(queue.dequeue(&element), QUEUE_UNDERFLOW);
    EXPECT_EQ(element, &elements[7]);
    const std::vector<LogRecord> wanted = {
        {4, "dequeue", "Message queue underflow! - Dequeue operation failed"}};
    EXPECT_EQ(log.all(), wanted);
}

TEST_F(AQueue, KeepsItsElementWhenThereIsNowhereToPutIt)
{
    fill(1);
    EXPECT_EQ(queue.dequeue(nullptr), QUEUE_NULL_ELEMENT);
    EXPECT_FALSE(queue.isEmpty());
}

TEST_F(AQueue, DoesNotAllocateWhileItIsUsed)
{
    Failing failing(Call::operator_new, 1);
    fill(51);
    EXPECT_FALSE(failing.has_happened());
}

// A queue makes one allocation, for the vector and all that it will ever hold.
TEST(AQueueWithoutMemory, EndsTheProcessWith255)
{
    const ChildResult child = run_in_child([] {
        Failing failing(Call::operator_new, 1);
        IMS_queue_manager queue;
    });
    EXPECT_EQ(child.status, 255) << child.err;
    EXPECT_NE(child.err.find("[3] IMS_queue_manager: Could not create message queue!\n"), std::string::npos)
        << child.err;
}

TEST_F(AQueue, TellsWithoutTheLockHowMuchItHolds)
{
    EXPECT_TRUE(queue.seemsEmpty());
    fill(51);
    EXPECT_EQ(queue.heldAbout(), 51u);
    _Q_ELEMENT_T* element = nullptr;
    ASSERT_EQ(queue.dequeue(&element), QUEUE_OK);
    EXPECT_EQ(queue.heldAbout(), 50u);
    EXPECT_FALSE(queue.seemsEmpty());
}

} // namespace
