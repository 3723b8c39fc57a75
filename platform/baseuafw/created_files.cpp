#include "baseuafw/created_files.h"

#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace baseuafw {
namespace {

constexpr pid_t nobody = 0; // free for the next file of this path
constexpr pid_t busy = -1;  // being changed or removed

struct Created {
    Created* next;
    char* path;
    std::atomic<pid_t> owner;
    dev_t device; // these two: whoever has set `owner` to busy
    ino_t inode;
};

std::atomic<Created*> all{nullptr}; // grows at the head, never shrinks: readable in a signal handler
std::mutex adding;

char* absolute(const char* path)
{
    if (path[0] == '/') return ::strdup(path);
    char directory[PATH_MAX];
    if (!::getcwd(directory, sizeof directory)) return nullptr;
    char* whole = nullptr;
    return ::asprintf(&whole, "%s/%s", directory, path) < 0 ? nullptr : whole;
}

bool take(Created& file, pid_t owner)
{
    return file.owner.compare_exchange_strong(owner, busy, std::memory_order_acquire);
}

// An earlier record of the same path, taken; null if there is none to take.
Created* take_record(const char* path)
{
    for (Created* file = all.load(std::memory_order_acquire); file; file = file->next)
        if (std::strcmp(file->path, path) == 0 && (take(*file, nobody) || take(*file, ::getpid())))
            return file;
    return nullptr;
}

// A new record, taken, that owns `path`.
Created* add_record(char* path)
{
    auto* file = static_cast<Created*>(std::malloc(sizeof(Created)));
    if (!file) return nullptr;
    new (file) Created{all.load(std::memory_order_relaxed), path, {busy}, 0, 0};
    all.store(file, std::memory_order_release); // `adding` is held: nobody else writes it
    return file;
}

void remove_at_exit()
{
    static std::atomic<bool> done{false};
    if (!done.exchange(true)) std::atexit(remove_created_files);
}

} // namespace

bool remember_created_file(const char* path)
{
    struct stat found {};
    if (::lstat(path, &found) != 0) return false;
    char* whole = absolute(path);
    if (!whole) return false;
    std::lock_guard<std::mutex> guard(adding);
    Created* file = take_record(whole);
    if (file || !(file = add_record(whole))) std::free(whole);
    if (!file) return false;
    file->device = found.st_dev;
    file->inode = found.st_ino;
    file->owner.store(::getpid(), std::memory_order_release);
    remove_at_exit();
    return true;
}

void remove_created_files()
{
    const pid_t me = ::getpid();
    for (Created* file = all.load(std::memory_order_acquire); file; file = file->next) {
        if (!take(*file, me)) continue;
        struct stat found {};
        if (::lstat(file->path, &found) == 0 && found.st_dev == file->device && found.st_ino == file->inode)
            ::unlink(file->path);
        file->owner.store(nobody, std::memory_order_release);
    }
}

void adopt_created_files(pid_t parent)
{
    for (Created* file = all.load(std::memory_order_acquire); file; file = file->next) {
        pid_t owner = parent;
        file->owner.compare_exchange_strong(owner, ::getpid());
    }
}

} // namespace baseuafw
