#include "tools/imsladder/columns.h"

#include <algorithm>
#include <numeric>

namespace imsladder {
namespace {

constexpr std::size_t least_gap = 14;
constexpr std::size_t around_label =
    8; // blanks, a piece of line on both sides, the arrow's head, the lifeline

std::size_t heading_size(const Participant& participant)
{
    return std::max(participant.name.size(), participant.address.size());
}

struct Span {
    std::size_t first, last, needed; // lifelines, and the distance between them
};

// The widest label between each two lifelines, neighbours first: what they get also helps the wider spans.
std::vector<Span> spans_of(const Ladder& ladder)
{
    std::vector<Span> spans;
    for (const Arrow& arrow : ladder.arrows) {
        Span span{std::min(arrow.from, arrow.to), std::max(arrow.from, arrow.to),
                  arrow_label(arrow).size() + around_label};
        if (span.first == span.last) ++span.last;
        spans.push_back(span);
    }
    std::sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) {
        return a.last - a.first != b.last - b.first ? a.last - a.first < b.last - b.first
                                                    : a.needed > b.needed;
    });
    return spans;
}

void widen(std::vector<std::size_t>& gaps, const Span& span)
{
    const auto begin = gaps.begin() + static_cast<std::ptrdiff_t>(span.first);
    const auto end = gaps.begin() + static_cast<std::ptrdiff_t>(span.last);
    const std::size_t has = std::accumulate(begin, end, std::size_t{0});
    if (has >= span.needed) return;
    const std::size_t count = span.last - span.first;
    const std::size_t more = (span.needed - has + count - 1) / count;
    for (auto gap = begin; gap != end; ++gap)
        *gap += more;
}

// Takes from the widest gaps first.
void narrow(std::vector<std::size_t>& gaps, std::size_t total)
{
    std::size_t has = std::accumulate(gaps.begin(), gaps.end(), std::size_t{0});
    while (has > total) {
        const auto widest = std::max_element(gaps.begin(), gaps.end());
        if (*widest <= least_gap) return;
        --*widest;
        --has;
    }
}

} // namespace

Columns arrange(const Ladder& ladder, std::size_t max_width)
{
    const std::vector<Participant>& who = ladder.participants;
    Columns columns;
    if (who.empty()) return columns;
    // The last gap is the room to the right of the last lifeline.
    std::vector<std::size_t> gaps(who.size(), least_gap);
    for (std::size_t i = 0; i + 1 < who.size(); ++i)
        gaps[i] = std::max(least_gap, (heading_size(who[i]) + heading_size(who[i + 1])) / 2 + 5);
    gaps.back() = heading_size(who.back()) / 2 + 1;
    for (const Span& span : spans_of(ladder))
        widen(gaps, span);

    const std::size_t left = std::min<std::size_t>(heading_size(who.front()) / 2, 24);
    narrow(gaps, max_width > left ? max_width - left : 0);
    std::size_t at = left;
    for (const std::size_t gap : gaps) {
        columns.at.push_back(at);
        at += gap;
    }
    columns.width = at;
    return columns;
}

std::size_t heading_width(const Columns& columns, std::size_t i)
{
    std::size_t room = 2 * columns.at.front() + 1;
    if (i > 0) room = columns.at[i] - columns.at[i - 1] - 2;
    if (i + 1 < columns.at.size())
        room = std::min(std::max(room, std::size_t{1}), columns.at[i + 1] - columns.at[i] - 2);
    return room;
}

} // namespace imsladder
