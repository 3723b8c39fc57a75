// Makes operator new fail on the calling thread, to see what then happens.
#ifndef TESTS_PLATFORM_BASEUAFW_FAILING_NEW_H_INCLUDED
#define TESTS_PLATFORM_BASEUAFW_FAILING_NEW_H_INCLUDED

// While in scope: the first `granted` allocations of this thread succeed, all later ones fail.
class FailingNew {
public:
    explicit FailingNew(int granted);
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;

    bool failed() const; // whether one was refused
};

#endif
