#include "core/queue_payload.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

// What is freed is proven by the leak checker (a block that stays is a leak) and by the address sanitizer
// (a block freed wrongly is used after it, or freed twice).
namespace {

using imsua::release_dispatched_payload;
using imsua::release_refused_payload;

template <typename T>
T* allocated()
{
    return static_cast<T*>(std::calloc(1, sizeof(T)));
}

TAC_MSG_S* raw_message(std::uint16_t body_len, void* body)
{
    auto* message = allocated<TAC_MSG_S>();
    message->body_len = body_len;
    message->body = static_cast<unsigned char*>(body);
    return message;
}

// A daemon's own record: begins like the common head and carries more.
struct OwnRecord {
    std::uint32_t number;
    std::uint16_t length;
    std::uint16_t spare;
    std::uint32_t word;
    void* body;
    char more[20];
};

OwnRecord* mapped_record(std::uint16_t length, void* body)
{
    auto* record = allocated<OwnRecord>();
    record->length = length;
    record->body = body;
    return record;
}

using Release = void (*)(MSG_TYPE, void*);

class EitherRelease : public testing::TestWithParam<Release> {};
INSTANTIATE_TEST_SUITE_P(Of, EitherRelease,
                         testing::Values(&release_dispatched_payload, &release_refused_payload),
                         [](const auto& which) { return which.index == 0 ? "Dispatched" : "Refused"; });

TEST_P(EitherRelease, FreesARawMessageAndItsBody)
{
    GetParam()(MSG_TYPE_TAPI_RAW, raw_message(8, std::malloc(8)));
}

TEST_P(EitherRelease, FreesABodyOfOneByte)
{
    GetParam()(MSG_TYPE_TAPI_RAW, raw_message(1, std::malloc(1)));
    GetParam()(MSG_TYPE_TAPI_MAPPED, mapped_record(1, std::malloc(1)));
}

TEST_P(EitherRelease, FreesARawMessageWithoutABody)
{
    GetParam()(MSG_TYPE_TAPI_RAW, raw_message(8, nullptr));
}

TEST_P(EitherRelease, LeavesTheBodyOfARawMessageOfLengthZeroAlone)
{
    char not_ours[4] = "abc"; // freeing it would end the test
    GetParam()(MSG_TYPE_TAPI_RAW, raw_message(0, not_ours));
    EXPECT_STREQ(not_ours, "abc");
}

TEST_P(EitherRelease, FreesAMappedRecordAndItsBody)
{
    GetParam()(MSG_TYPE_TAPI_MAPPED, mapped_record(3, std::malloc(3)));
}

TEST_P(EitherRelease, FreesAMappedRecordWithoutABody)
{
    GetParam()(MSG_TYPE_TAPI_MAPPED, mapped_record(3, nullptr));
}

TEST_P(EitherRelease, LeavesTheBodyOfAMappedRecordOfLengthZeroAlone)
{
    char not_ours[4] = "abc";
    GetParam()(MSG_TYPE_TAPI_MAPPED, mapped_record(0, not_ours));
    EXPECT_STREQ(not_ours, "abc");
}

TEST_P(EitherRelease, FreesAFrameworkText)
{
    GetParam()(MSG_TYPE_FWK, ::strdup("changed"));
}

TEST_P(EitherRelease, LeavesEveryOtherKindAlone)
{
    int not_ours = 5;
    for (MSG_TYPE kind : {1, 2, 3, 4, 5, 6, 7, 8, 12, -1, 1000})
        GetParam()(kind, &not_ours);
    EXPECT_EQ(not_ours, 5);
}

TEST_P(EitherRelease, AcceptsNullForEveryKind)
{
    for (MSG_TYPE kind = -1; kind <= 12; ++kind)
        GetParam()(kind, nullptr);
}

TEST(ADialogRecord, IsFreedAfterDispatchButNotItsObject)
{
    auto* record = allocated<DialogMessageRecord>();
    record->object = reinterpret_cast<SIPLIB_SIPObject*>(record); // never looked at
    release_dispatched_payload(MSG_TYPE_DIALOG, record);
}

TEST(ADialogRecord, StaysTheProducersWhenItIsRefused)
{
    DialogMessageRecord record = {7, nullptr}; // freeing it would end the test
    release_refused_payload(MSG_TYPE_DIALOG, &record);
    EXPECT_EQ(record.result_code, 7);
}

} // namespace
