#include "tools/imsladder/text.h"

#include "tools/imsladder/columns.h"

#include <algorithm>
#include <vector>

namespace imsladder {
namespace {

// What the lines are made of.
struct Glyphs {
    const char *life, *line, *again, *crossing;
    const char *from_left, *from_right; // where an arrow starts
    const char *head_right, *head_left; // where it ends
    const char *lost, *unsent, *self;   // not received, not recorded as sent, to itself
    const char* cut;                    // stands `cuts` times where a label is cut
    std::size_t cuts;
};
constexpr Glyphs unicode_glyphs = {"│", "─", "╌", "┼", "├", "┤", "▶", "◀", "✗", "?", "↺", "…", 1};
constexpr Glyphs ascii_glyphs = {"|", "-", ".", "+", "|", "|", ">", "<", "x", "?", "@", ".", 3};

constexpr std::size_t time_width = 12; // and two blanks

// One line of character cells.
class Line {
public:
    void put(std::size_t at, const char* glyph)
    {
        if (cells_.size() <= at) cells_.resize(at + 1, " ");
        cells_[at] = glyph;
    }
    // ASCII only: one cell a character.
    void put(std::size_t at, const std::string& text)
    {
        for (const char c : text)
            put(at++, std::string(1, c).c_str());
    }
    std::string text() const
    {
        std::string line;
        for (const std::string& cell : cells_)
            line += cell;
        line.erase(line.find_last_not_of(' ') + 1);
        return line + '\n';
    }

private:
    std::vector<std::string> cells_;
};

class Drawing {
public:
    Drawing(const Ladder& ladder, const TextOptions& options)
        : ladder_(ladder), glyphs_(options.ascii ? ascii_glyphs : unicode_glyphs),
          columns_(arrange(ladder, options.width > left_ ? options.width - left_ : 0))
    {
    }
    std::string draw();

private:
    std::size_t x(std::size_t participant) const { return left_ + columns_.at[participant]; }
    std::string headings(std::string Participant::*text) const;
    Line lifelines() const;
    std::string row(const Arrow& arrow) const;
    void put_arrow(Line& line, const Arrow& arrow) const;
    void put_ends(Line& line, const Arrow& arrow) const;
    void put_label(Line& line, std::size_t at, std::size_t room, const std::string& label) const;
    std::string legend() const;

    const Ladder& ladder_;
    const Glyphs& glyphs_;
    const std::size_t left_ = time_width + 2;
    const Columns columns_;
};

std::string Drawing::draw()
{
    std::string text = headings(&Participant::name) + headings(&Participant::address) + lifelines().text();
    for (const Arrow& arrow : ladder_.arrows)
        text += row(arrow);
    return text + lifelines().text() + legend();
}

std::string Drawing::headings(std::string Participant::*text) const
{
    Line line;
    for (std::size_t i = 0; i < ladder_.participants.size(); ++i) {
        const std::string& whole = ladder_.participants[i].*text;
        const std::size_t size = std::min(whole.size(), heading_width(columns_, i));
        put_label(line, x(i) - std::min(size / 2, x(i)), size, whole);
    }
    return line.text();
}

Line Drawing::lifelines() const
{
    Line line;
    for (std::size_t i = 0; i < columns_.at.size(); ++i)
        line.put(x(i), glyphs_.life);
    return line;
}

std::string Drawing::row(const Arrow& arrow) const
{
    Line line = lifelines();
    const std::string time = seconds(arrow.time);
    line.put(time_width - std::min(time.size(), time_width), time);
    if (arrow.from == arrow.to) {
        const std::string label = arrow_label(arrow);
        line.put(x(arrow.from) + 1, glyphs_.self);
        const bool last = arrow.from + 1 == columns_.at.size();
        put_label(line, x(arrow.from) + 3,
                  last ? label.size() : columns_.between(arrow.from, arrow.from + 1) - 4, label);
    } else {
        put_arrow(line, arrow);
    }
    return line.text();
}

void Drawing::put_arrow(Line& line, const Arrow& arrow) const
{
    const std::size_t first = x(std::min(arrow.from, arrow.to));
    const std::size_t last = x(std::max(arrow.from, arrow.to));
    for (std::size_t at = first + 1; at < last; ++at)
        line.put(at, arrow.again ? glyphs_.again : glyphs_.line);
    for (std::size_t i = 0; i < columns_.at.size(); ++i)
        if (x(i) > first && x(i) < last) line.put(x(i), glyphs_.crossing);
    put_ends(line, arrow);

    const std::string label = arrow_label(arrow);
    const std::size_t inside = last - first - 1;
    const std::size_t room = inside > 5 ? inside - 5 : 0;
    const std::size_t size = std::min(label.size(), room);
    // The odd cell goes to the side of the arrow's head.
    const std::size_t odd = arrow.from < arrow.to ? 0 : 1;
    const std::size_t start = first + 1 + (inside - size + odd) / 2;
    line.put(start - 1, " ");
    line.put(start + size, " ");
    put_label(line, start, size, label);
}

void Drawing::put_ends(Line& line, const Arrow& arrow) const
{
    const bool right = arrow.from < arrow.to;
    const std::size_t from = x(arrow.from);
    const std::size_t to = x(arrow.to);
    const bool lost = is_lost(ladder_, arrow);
    const bool unreceived = lost && arrow.seen == Arrow::Seen::by_sender;
    const char* head = right ? glyphs_.head_right : glyphs_.head_left;
    line.put(from, right ? glyphs_.from_left : glyphs_.from_right);
    line.put(right ? to - 1 : to + 1, unreceived ? glyphs_.lost : head);
    if (lost && !unreceived) line.put(right ? from + 1 : from - 1, glyphs_.unsent);
}

void Drawing::put_label(Line& line, std::size_t at, std::size_t room, const std::string& label) const
{
    if (label.size() <= room) {
        line.put(at, label);
    } else if (room >= glyphs_.cuts) {
        line.put(at, label.substr(0, room - glyphs_.cuts));
        for (std::size_t i = 1; i <= glyphs_.cuts; ++i)
            line.put(at + room - i, glyphs_.cut);
    }
}

// Only of the marks that were used.
std::string Drawing::legend() const
{
    bool again = false, lost = false, unsent = false;
    for (const Arrow& arrow : ladder_.arrows) {
        again = again || arrow.again;
        lost = lost || (is_lost(ladder_, arrow) && arrow.seen == Arrow::Seen::by_sender);
        unsent = unsent || (is_lost(ladder_, arrow) && arrow.seen == Arrow::Seen::by_receiver);
    }
    const std::string indent(left_, ' ');
    std::string text;
    if (again) text += indent + glyphs_.again + glyphs_.again + " (again): sent before, a retransmission\n";
    if (lost) text += indent + glyphs_.lost + "  not in the record of its receiver: lost on the way\n";
    if (unsent) text += indent + glyphs_.unsent + "  not in the record of its sender\n";
    return text;
}

} // namespace

std::string draw_text(const Ladder& ladder, const TextOptions& options)
{
    return ladder.arrows.empty() ? "" : Drawing(ladder, options).draw();
}

std::string seconds(std::int64_t microseconds)
{
    const std::string fraction = std::to_string(microseconds % 1000000);
    return std::to_string(microseconds / 1000000) + '.' + std::string(6 - fraction.size(), '0') + fraction;
}

} // namespace imsladder
