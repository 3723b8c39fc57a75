// imsladder: draws the SIP messages that programs recorded as a ladder. See docs/tools/imsladder.md.
#include "tools/imsladder/json.h"
#include "tools/imsladder/merge.h"
#include "tools/imsladder/read.h"
#include "tools/imsladder/svg.h"
#include "tools/imsladder/text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace {

enum ExitStatus { drawn = 0, incomplete = 1, bad_usage = 2 };

struct Options {
    std::vector<std::string> files;
    std::string svg, call_id;
    bool ascii = false, json = false, quiet = false;
    std::size_t width = 0; // 0: that of the terminal
};

void declare(CLI::App& app, Options& options)
{
    app.add_option("FILE", options.files, "message records; - is standard input")->required();
    app.add_option("--svg", options.svg, "also write the ladder as an SVG picture to this file");
    app.add_flag("--json", options.json, "print one JSON document instead of the drawing");
    app.add_flag("--ascii", options.ascii, "draw with ASCII characters only");
    app.add_option("--width", options.width,
                   "columns to draw for (default: the terminal's, else as many as it takes)")
        ->check(CLI::Range(20, 10000));
    app.add_option("--call-id", options.call_id, "only messages whose Call-ID contains this text");
    app.add_flag("-q,--quiet", options.quiet, "print no drawing: with --svg, or to check files");
    app.footer(
        "Exit status: 0 drawn; 1 no message, or a file that cannot be read or written; 2 wrong usage.\n"
        "Lines that are no records are counted on standard error and skipped.");
}

constexpr std::size_t as_wide_as_needed = 100000;

std::size_t terminal_width()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return as_wide_as_needed;
}

bool read_file(const std::string& path, std::vector<imsladder::Record>& records)
{
    std::ifstream file;
    if (path != "-") file.open(path, std::ios::binary);
    // A directory opens, but its first read fails.
    if (path != "-" && (!file.is_open() || (file.peek(), file.bad()))) {
        std::cerr << "imsladder: " << path << ": cannot be read\n";
        return false;
    }
    std::istream& in = path == "-" ? std::cin : file;
    in.clear(); // an empty file has met its end already
    const imsladder::BadLines bad = imsladder::read_records(in, records);
    if (bad.count > 0)
        std::cerr << "imsladder: " << path << ": " << bad.count << (bad.count == 1 ? " line" : " lines")
                  << " skipped, the first is line " << bad.first_line << ": " << bad.why << '\n';
    return true;
}

void keep_only(std::vector<imsladder::Record>& records, const std::string& call_id)
{
    const auto other = [&](const imsladder::Record& record) {
        return record.summary.call_id.find(call_id) == std::string::npos;
    };
    records.erase(std::remove_if(records.begin(), records.end(), other), records.end());
}

bool write_file(const std::string& path, const std::string& text)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (file) return true;
    std::cerr << "imsladder: " << path << ": cannot be written\n";
    return false;
}

int run(const Options& options)
{
    bool complete = true;
    std::vector<imsladder::Record> records;
    for (const std::string& path : options.files)
        complete = read_file(path, records) && complete;
    if (!options.call_id.empty()) keep_only(records, options.call_id);
    const imsladder::Ladder ladder = imsladder::merge(std::move(records));
    if (ladder.arrows.empty()) {
        std::cerr << "imsladder: no message\n";
        complete = false;
    }
    if (!options.svg.empty()) complete = write_file(options.svg, imsladder::draw_svg(ladder)) && complete;
    const std::size_t width = options.width > 0 ? options.width : terminal_width();
    if (options.json)
        std::cout << imsladder::draw_json(ladder);
    else if (!options.quiet)
        std::cout << imsladder::draw_text(ladder, {options.ascii, width});
    std::cout.flush();
    return complete && std::cout ? drawn : incomplete;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        CLI::App app{"Draws the SIP messages that programs recorded as a ladder: who, to whom, what.",
                     "imsladder"};
        Options options;
        declare(app, options);
        try {
            app.parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            return app.exit(error) == 0 ? drawn : bad_usage;
        }
        return run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "imsladder: %s\n", error.what());
        return incomplete;
    }
}
