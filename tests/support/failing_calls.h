// Makes one chosen allocation or thread call of the test program fail, and tells whether a block was freed.
// Link imsua_failing_calls to use it.
//
// Counts only calls made from the program's own objects (the libraries under test are linked into it), and
// operator new wherever it is called from.
#ifndef TESTS_SUPPORT_FAILING_CALLS_H_INCLUDED
#define TESTS_SUPPORT_FAILING_CALLS_H_INCLUDED

enum class Call { malloc, strdup, operator_new, pthread_create, pthread_attr_init, count };

// While in scope, the `nth` call (1 = the next) of the thread that made this object fails: null, bad_alloc,
// or EAGAIN for the thread calls. Other threads go on undisturbed, however far behind or ahead they are.
class Failing {
public:
    Failing(Call call, int nth);
    ~Failing();
    Failing(const Failing&) = delete;
    Failing& operator=(const Failing&) = delete;
    bool has_happened() const;

private:
    Call call_;
};

// Follows a block until it is freed, in every lane: a leak checker sees only what nothing points at any more.
// At most 8 in one process; for a process that ends, call freed() from an exit handler.
class Watched {
public:
    static void watch(const void* block);
    static void watch_copies(); // each block that strdup gives from here on
    static int freed();         // how many of the watched blocks were handed to free()
};

#endif
