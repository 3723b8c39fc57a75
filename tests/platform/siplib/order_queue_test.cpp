#include "siplib/order_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <poll.h>
#include <thread>

using siplib::Order;
using siplib::OrderQueue;

namespace {

bool awake(const OrderQueue& queue)
{
    pollfd one = {queue.wake_descriptor(), POLLIN, 0};
    return poll(&one, 1, 0) == 1;
}

Order numbered(int n)
{
    Order order;
    order.kind = Order::Kind::request;
    order.request.route_size = static_cast<std::uint32_t>(n);
    return order;
}

TEST(AnOrderQueue, KeepsTheOrder)
{
    OrderQueue queue(10);
    std::vector<Order> batch;
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(queue.push(numbered(i), true));
    queue.take(batch, 3);
    ASSERT_EQ(batch.size(), 3u);
    EXPECT_EQ(batch[0].request.route_size, 0u);
    EXPECT_EQ(batch[2].request.route_size, 2u);
    queue.take(batch, 3);
    ASSERT_EQ(batch.size(), 2u);
    EXPECT_EQ(batch[1].request.route_size, 4u);
}

TEST(AnOrderQueue, IsAwakeAsLongAsSomethingWaits)
{
    OrderQueue queue(10);
    std::vector<Order> batch;
    EXPECT_FALSE(awake(queue));
    queue.push(numbered(1), true);
    queue.push(numbered(2), true);
    EXPECT_TRUE(awake(queue));
    queue.take(batch, 1);
    EXPECT_TRUE(awake(queue));
    queue.take(batch, 1);
    EXPECT_FALSE(awake(queue));
}

TEST(AnOrderQueue, LetsTheSipThreadGoBeyondTheBound)
{
    OrderQueue queue(1);
    EXPECT_TRUE(queue.push(numbered(1), false));
    EXPECT_TRUE(queue.push(numbered(2), false));
}

TEST(AnOrderQueue, MakesOthersWaitWhileItIsFull)
{
    OrderQueue queue(2);
    std::atomic<int> pushed{0};
    std::thread producer([&] {
        for (int i = 0; i < 200; ++i) {
            queue.push(numbered(i), true);
            ++pushed;
        }
    });
    std::vector<Order> batch;
    int expected = 0;
    while (expected < 200) {
        pollfd one = {queue.wake_descriptor(), POLLIN, 0};
        ASSERT_EQ(poll(&one, 1, 20000), 1);
        EXPECT_LE(pushed.load(), expected + 2 + 1);
        queue.take(batch, 1);
        for (const Order& order : batch)
            EXPECT_EQ(order.request.route_size, static_cast<unsigned>(expected++));
    }
    producer.join();
}

TEST(AnOrderQueue, ReleasesThoseWhoWaitWhenItCloses)
{
    OrderQueue queue(1);
    queue.push(numbered(1), true);
    std::atomic<bool> result{true};
    std::thread waiting([&] { result = queue.push(numbered(2), true); });
    queue.close();
    waiting.join();
    EXPECT_FALSE(result);
    EXPECT_FALSE(queue.push(numbered(3), false));
}

} // namespace
