#include "tests/support/temp_dir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace fs = std::filesystem;

TempDir::TempDir()
{
    std::string pattern = (fs::temp_directory_path() / "imsua-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern;
}

TempDir::~TempDir()
{
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TempDir::write(const std::string& name, const std::string& text) const
{
    std::ofstream(file(name), std::ios::binary | std::ios::trunc) << text;
    return file(name);
}

std::string TempDir::read(const std::string& name) const
{
    std::ifstream in(file(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

WorkingDir::WorkingDir() : before_(fs::current_path().string())
{
    if (::chdir(path().c_str()) != 0) std::abort();
}

WorkingDir::~WorkingDir()
{
    if (::chdir(before_.c_str()) != 0) std::abort();
}
