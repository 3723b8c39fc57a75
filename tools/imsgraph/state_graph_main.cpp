// The main of every program that draws a state table: prints it, or has Graphviz make a picture of it. The
// table and its names come from the function imsua_state_graph() of the program's own sources. See
// docs/tools/imsgraph.md.
#include "core/state_graph.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace {

enum ExitStatus { drawn = 0, failed = 1, bad_usage = 2 };

constexpr char USAGE[] = "Prints the state table that is compiled into this program as a Graphviz graph.\n"
                         "  --svg FILE   writes a picture of it instead: an SVG file, made by 'dot'\n"
                         "  --help       this text\n"
                         "Exit status: 0 drawn; 1 dot or the file failed; 2 wrong usage.\n";

int complain(const char* program, const std::string& what)
{
    std::fprintf(stderr, "%s: %s\n", program, what.c_str());
    return failed;
}

// Starts dot on a pipe; `input` is the end to write the graph to. 0, or an errno value.
int start_dot(const char* file, pid_t& dot, int& input)
{
    int ends[2];
    if (::pipe(ends) != 0) return errno;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
    ::posix_spawn_file_actions_addclose(&actions, ends[0]);
    ::posix_spawn_file_actions_addclose(&actions, ends[1]);
    std::string arguments[] = {"dot", "-Tsvg", "-o", file};
    char* const argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), arguments[3].data(),
                          nullptr};
    const int error = ::posix_spawnp(&dot, argv[0], &actions, nullptr, argv, environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[0]);
    input = ends[1];
    if (error != 0) ::close(input);
    return error;
}

bool write_all(int fd, const std::string& text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno != EINTR) return false;
        if (n > 0) done += static_cast<std::size_t>(n);
    }
    return true;
}

int write_svg(const char* program, const std::string& graph, const char* file)
{
    ::signal(SIGPIPE, SIG_IGN); // a dot that ends early is told by its exit status
    pid_t dot = -1;
    int input = -1;
    const int error = start_dot(file, dot, input);
    if (error != 0)
        return complain(program,
                        "dot cannot be run (package graphviz): " + std::generic_category().message(error));
    const bool written = write_all(input, graph);
    ::close(input);
    int status = 0;
    while (::waitpid(dot, &status, 0) < 0 && errno == EINTR) {
    }
    if (written && WIFEXITED(status) && WEXITSTATUS(status) == 0) return drawn;
    return complain(program, std::string("dot could not write ") + file);
}

int print(const char* program, const std::string& graph)
{
    if (write_all(STDOUT_FILENO, graph)) return drawn;
    return complain(program, "the graph could not be written");
}

} // namespace

int main(int argc, char** argv)
{
    const char* const program = argc > 0 ? argv[0] : "imsgraph";
    try {
        if (argc == 1) return print(program, imsua_state_graph().dot());
        if (argc == 2 && std::strcmp(argv[1], "--help") == 0) return print(program, USAGE);
        if (argc == 3 && std::strcmp(argv[1], "--svg") == 0)
            return write_svg(program, imsua_state_graph().dot(), argv[2]);
    } catch (const std::exception& error) {
        return complain(program, error.what());
    }
    std::fputs(USAGE, stderr);
    return bad_usage;
}
