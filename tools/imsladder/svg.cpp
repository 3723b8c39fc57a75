#include "tools/imsladder/svg.h"

#include "tools/imsladder/columns.h"
#include "tools/imsladder/text.h"

#include <algorithm>
#include <ctime>
#include <string>
#include <string_view>

namespace imsladder {
namespace {

// Pixels.
constexpr int character = 8; // of the 13 pixel monospaced labels
constexpr int margin = 28;
constexpr int time_column = 96;
constexpr int title_height = 64;
constexpr int box_height = 46;
constexpr int row_height = 36;
constexpr int legend_height = 52;
constexpr int head = 9; // of an arrow

constexpr const char* style = R"(
  text { font-family: system-ui, 'Segoe UI', 'DejaVu Sans', sans-serif; fill: #1f2937 }
  .back { fill: #ffffff } .band { fill: #f6f8fa }
  .title { font-size: 18px; font-weight: 600 } .about, .address, .legend { font-size: 12px; fill: #6b7280 }
  .name { font-size: 13px; font-weight: 600 } .address { font-size: 11.5px }
  .box { fill: #eef4ff; stroke: #9db7e8 } .stranger .box { fill: #f3f4f6; stroke: #c3c8d0; stroke-dasharray: 4 3 }
  .life { stroke: #c3c8d0; stroke-width: 1.5 }
  .time, .label { font-family: ui-monospace, 'DejaVu Sans Mono', Menlo, Consolas, monospace }
  .time { font-size: 11.5px; fill: #6b7280 } .label { font-size: 13px; stroke: #ffffff; stroke-width: 4; paint-order: stroke }
  .odd .label { stroke: #f6f8fa }
  .arrow { stroke-width: 1.8; fill: none } .head, .start { stroke: none } .cross { stroke-width: 2.4; fill: none }
  .again .arrow { stroke-dasharray: 6 4 }
  .request .arrow, .request .cross { stroke: #1d4ed8 } .request .head, .request .start, .request .label { fill: #1d4ed8 }
  .success .arrow, .success .cross { stroke: #15803d } .success .head, .success .start, .success .label { fill: #15803d }
  .failure .arrow, .failure .cross { stroke: #b91c1c } .failure .head, .failure .start, .failure .label { fill: #b91c1c }
  .other .arrow, .other .cross { stroke: #6b7280 } .other .head, .other .start, .other .label { fill: #6b7280 }
  .lost .cross { stroke: #dc2626 }
  .message:hover .band, .message:hover .hit { fill: #fff4d6 } .hit { fill: #ffffff; fill-opacity: 0 }
  .message:hover .hit { fill-opacity: 0.55 } .message:hover .arrow { stroke-width: 2.6 }
)";

std::string escaped(std::string_view text)
{
    std::string safe;
    for (const char c : text) {
        switch (c) {
        case '&': safe += "&amp;"; break;
        case '<': safe += "&lt;"; break;
        case '>': safe += "&gt;"; break;
        case '"': safe += "&quot;"; break;
        default: safe += c;
        }
    }
    return safe;
}

std::string number(int n)
{
    return std::to_string(n);
}

std::string text_at(int x, int y, const char* klass, const char* anchor, std::string_view text)
{
    return "<text class=\"" + std::string(klass) + "\" x=\"" + number(x) + "\" y=\"" + number(y) +
           "\" text-anchor=\"" + anchor + "\">" + escaped(text) + "</text>\n";
}

std::string line_at(const char* klass, int x1, int y1, int x2, int y2)
{
    return "<line class=\"" + std::string(klass) + "\" x1=\"" + number(x1) + "\" y1=\"" + number(y1) +
           "\" x2=\"" + number(x2) + "\" y2=\"" + number(y2) + "\"/>\n";
}

std::string rect_at(const char* klass, int x, int y, int width, int height, int radius)
{
    return "<rect class=\"" + std::string(klass) + "\" x=\"" + number(x) + "\" y=\"" + number(y) +
           "\" width=\"" + number(width) + "\" height=\"" + number(height) + "\" rx=\"" + number(radius) +
           "\"/>\n";
}

std::string date_of(std::int64_t microseconds)
{
    const std::time_t time = static_cast<std::time_t>(microseconds / 1000000);
    std::tm utc{};
    char text[64] = "";
    if (!gmtime_r(&time, &utc) || std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &utc) == 0)
        return "";
    return text;
}

const char* colour_of(const Summary& summary)
{
    if (summary.kind == Summary::Kind::request) return "request";
    if (summary.kind == Summary::Kind::other || summary.status < 200) return "other";
    return summary.status < 300 ? "success" : "failure";
}

class Picture {
public:
    explicit Picture(const Ladder& ladder) : ladder_(ladder), columns_(arrange(ladder, unlimited)) {}
    std::string draw() const;

private:
    static constexpr std::size_t unlimited = 100000;
    int x(std::size_t participant) const
    {
        return margin + time_column + 40 + static_cast<int>(columns_.at[participant]) * character;
    }
    int width() const { return margin * 2 + time_column + 80 + static_cast<int>(columns_.width) * character; }
    int rows_top() const { return title_height + box_height + 8; }
    int rows_end() const { return rows_top() + static_cast<int>(ladder_.arrows.size()) * row_height + 12; }
    int height() const { return rows_end() + box_height + legend_height; }

    std::string title() const;
    std::string boxes(int y) const;
    std::string message(std::size_t i) const;
    std::string arrow(const Arrow& arrow, int y) const;
    std::string to_itself(const Arrow& arrow, int y) const;
    std::string tooltip(const Arrow& arrow) const;
    std::string legend() const;

    const Ladder& ladder_;
    const Columns columns_;
};

std::string Picture::draw() const
{
    const std::string size = number(width()) + ' ' + number(height());
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + size + "\" width=\"" +
                      number(width()) + "\" height=\"" + number(height()) + "\">\n<style>" + style +
                      "</style>\n";
    svg += rect_at("back", 0, 0, width(), height(), 0) + title();
    std::string lives;
    for (std::size_t i = 0; i < ladder_.participants.size(); ++i)
        lives += line_at("life", x(i), title_height + box_height, x(i), rows_end());
    for (std::size_t i = 1; i < ladder_.arrows.size(); i += 2)
        svg += rect_at("band", margin / 2, rows_top() + static_cast<int>(i) * row_height, width() - margin,
                       row_height, 4);
    svg += lives;
    for (std::size_t i = 0; i < ladder_.arrows.size(); ++i)
        svg += message(i);
    return svg + boxes(title_height) + boxes(rows_end()) + legend() + "</svg>\n";
}

std::string Picture::title() const
{
    const std::size_t count = ladder_.arrows.size();
    std::string about = std::to_string(count) + (count == 1 ? " message" : " messages");
    if (count > 0)
        about = date_of(ladder_.start) + ", " + about + " in " + seconds(ladder_.arrows.back().time) + " s";
    return text_at(margin, 30, "title", "start", "SIP messages") +
           text_at(margin, 49, "about", "start", about);
}

std::string Picture::boxes(int y) const
{
    std::string svg;
    for (std::size_t i = 0; i < ladder_.participants.size(); ++i) {
        const Participant& who = ladder_.participants[i];
        const int half = std::max(
            56, static_cast<int>(std::max(who.name.size(), who.address.size())) * character / 2 + 12);
        svg += who.records ? "<g>\n"
                           : "<g class=\"stranger\">\n<title>keeps no record: seen by others only</title>\n";
        svg += rect_at("box", x(i) - half, y, half * 2, box_height, 7);
        svg += text_at(x(i), y + (who.address.empty() ? 28 : 20), "name", "middle", who.name);
        if (!who.address.empty()) svg += text_at(x(i), y + 37, "address", "middle", who.address);
        svg += "</g>\n";
    }
    return svg;
}

std::string Picture::message(std::size_t i) const
{
    const Arrow& a = ladder_.arrows[i];
    const int top = rows_top() + static_cast<int>(i) * row_height;
    std::string svg = std::string("<g class=\"message ") + colour_of(a.summary) + (i % 2 ? " odd" : "") +
                      (a.again ? " again" : "") + (is_lost(ladder_, a) ? " lost" : "") + "\">\n<title>" +
                      escaped(tooltip(a)) + "</title>\n";
    svg += rect_at("hit", margin / 2, top, width() - margin, row_height, 4);
    svg += text_at(margin + time_column - 16, top + 26, "time", "end", seconds(a.time));
    svg += a.from == a.to ? to_itself(a, top + 26) : arrow(a, top + 26);
    return svg + "</g>\n";
}

std::string Picture::arrow(const Arrow& a, int y) const
{
    const int way = a.from < a.to ? 1 : -1;
    const bool lost = is_lost(ladder_, a);
    const bool unreceived = lost && a.seen == Arrow::Seen::by_sender;
    const int from = x(a.from) + (lost && !unreceived ? way * 22 : 0);
    const int to = x(a.to) - (unreceived ? way * 22 : 0);
    std::string svg = line_at("arrow", from, y, to - way * (unreceived ? 0 : head - 1), y);
    const std::string tip = number(to) + ',' + number(y);
    if (unreceived) {
        for (const int up : {-5, 5})
            svg += line_at("cross", to - 5, y - up, to + 5, y + up);
    } else {
        const std::string back = number(to - way * head);
        svg += "<polygon class=\"head\" points=\"" + tip + ' ' + back + ',' + number(y - 5) + ' ' + back +
               ',' + number(y + 5) + "\"/>\n";
    }
    if (from == x(a.from))
        svg += "<circle class=\"start\" cx=\"" + number(from) + "\" cy=\"" + number(y) + "\" r=\"3\"/>\n";
    else
        svg += text_at(x(a.from) + way * 11, y + 5, "label", "middle", "?");
    return svg + text_at((x(a.from) + x(a.to)) / 2, y - 8, "label", "middle", arrow_label(a));
}

std::string Picture::to_itself(const Arrow& a, int y) const
{
    const std::string from = number(x(a.from));
    std::string svg = "<path class=\"arrow\" d=\"M" + from + ' ' + number(y - 12) + " h26 v12 h-18\"/>\n";
    svg += "<polygon class=\"head\" points=\"" + from + ',' + number(y) + ' ' + number(x(a.from) + head) +
           ',' + number(y - 5) + ' ' + number(x(a.from) + head) + ',' + number(y + 5) + "\"/>\n";
    return svg + text_at(x(a.from) + 34, y - 2, "label", "start", arrow_label(a));
}

std::string Picture::tooltip(const Arrow& a) const
{
    std::string text = ladder_.participants[a.from].name + " to " + ladder_.participants[a.to].name;
    if (!a.transport.empty()) text += " over " + printable(a.transport);
    text += ", " + std::to_string(a.summary.size) + " bytes";
    if (!a.summary.event.empty()) text += ", event " + printable(a.summary.event);
    if (a.again) text += "\nretransmission";
    if (is_lost(ladder_, a))
        text += a.seen == Arrow::Seen::by_sender ? "\nnot in the record of its receiver"
                                                 : "\nnot in the record of its sender";
    return text + "\n\n" + a.summary.head;
}

std::string Picture::legend() const
{
    struct Row {
        const char *klass, *text;
    };
    const Row rows[] = {{"request", "request"},
                        {"success", "2xx"},
                        {"failure", "3xx to 6xx"},
                        {"other", "1xx"},
                        {"request again", "retransmission"},
                        {"request lost", "lost"}};
    const int y = rows_end() + box_height + 30;
    int at = margin;
    std::string svg;
    for (const Row& row : rows) {
        svg += std::string("<g class=\"") + row.klass + "\">\n" + line_at("arrow", at, y - 4, at + 26, y - 4);
        if (std::string_view(row.text) == "lost")
            for (const int up : {-5, 5})
                svg += line_at("cross", at + 21, y - 4 - up, at + 31, y - 4 + up);
        at += 38;
        svg += text_at(at, y, "legend", "start", row.text) + "</g>\n";
        at += static_cast<int>(std::string_view(row.text).size()) * 7 + 24;
    }
    return svg;
}

} // namespace

std::string draw_svg(const Ladder& ladder)
{
    return Picture(ladder).draw();
}

} // namespace imsladder
