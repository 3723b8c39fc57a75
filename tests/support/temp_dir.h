// A private directory, removed with everything in it at the end of its scope.
#ifndef TESTS_SUPPORT_TEMP_DIR_H_INCLUDED
#define TESTS_SUPPORT_TEMP_DIR_H_INCLUDED

#include <string>

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }
    // Writes `text` as file `name`, replacing it; returns the full path.
    std::string write(const std::string& name, const std::string& text) const;
    // Whole content of file `name`; empty when it cannot be read.
    std::string read(const std::string& name) const;

private:
    std::string path_;
};

// A private directory that is also the working directory until the end of its scope.
class WorkingDir : public TempDir {
public:
    WorkingDir();
    ~WorkingDir();

private:
    std::string before_;
};

#endif
