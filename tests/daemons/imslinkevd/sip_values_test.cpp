#include "daemons/imslinkevd/sip_values.h"

#include "tests/support/fake_sip.h"

#include <gtest/gtest.h>

namespace {

TEST(TheHeadersOfASubscribe, AreReadAsTheyStand)
{
    Fake_request request;
    request.received = {{"From", "<sip:a@b>;tag=1"}, {"Event", "kiv-link-event"}, {"Require", "x"}};
    Subscribe_headers headers;
    EXPECT_TRUE(read_headers(request, headers));
    EXPECT_EQ(headers.from, "<sip:a@b>;tag=1");
    EXPECT_EQ(headers.event, "kiv-link-event");
    EXPECT_EQ(headers.require, "x");
    EXPECT_EQ(headers.expires, "");
    request.received["Contact"] = std::string(3000, 'x');
    EXPECT_FALSE(read_headers(request, headers));
}

TEST(TheRetryAfterOfAResponse, IsReadWithoutItsCommentAndBounded)
{
    Fake_request response;
    EXPECT_EQ(retry_after_of(response), Seconds(0));
    const std::pair<const char*, int> rows[] = {
        {"5", 5}, {"18 (in a meeting)", 18}, {"7;duration=3600", 7}, {"soon", 0}, {"999999", 3600}};
    for (const auto& row : rows) {
        response.received["Retry-After"] = row.first;
        EXPECT_EQ(retry_after_of(response), Seconds(row.second)) << row.first;
    }
}

} // namespace
