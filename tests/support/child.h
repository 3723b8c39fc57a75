// Runs a function in a forked child and tells how the child ended and what it wrote.
//
// For everything that ends the process: exit statuses are contract. Sanitizer lanes end with 99 on a
// report (see scripts/test.sh), so a report is never taken for a wanted 1.
#ifndef TESTS_SUPPORT_CHILD_H_INCLUDED
#define TESTS_SUPPORT_CHILD_H_INCLUDED

#include <functional>
#include <string>

struct ChildResult {
    int status = -1; // exit status, or -1 when a signal ended the child
    int signal = 0;  // the signal, or 0
    std::string out; // standard output
    std::string err; // standard error: the default log sink writes there
};

// The child calls `body`, then _exit(0) if it returns. The whole run has `seconds` at most; after that
// the child is killed (status -1, signal 9).
ChildResult run_in_child(const std::function<void()>& body, int seconds = 20);

#endif
