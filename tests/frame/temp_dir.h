// A fresh directory for settings files, removed with them at the end, and a scoped current directory.
#pragma once

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

namespace kx::test {

namespace fs = std::filesystem;

struct TempDir {
    fs::path path;
    TempDir() {
        const auto stamp = std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
        int i = 0;
        do path = fs::temp_directory_path() / ("kestrix-test-" + stamp + "-" + std::to_string(i++));
        while (!fs::create_directory(path));
    }
    ~TempDir() { std::error_code ignored; fs::remove_all(path, ignored); }
    // Writes the bytes as they are (no line-end translation); returns the file's full path.
    std::string write(const std::string &name, const std::string &bytes) const {
        std::ofstream(path / name, std::ios::binary).write(bytes.data(), std::streamsize(bytes.size()));
        return (path / name).string();
    }
};

struct InDir {
    const fs::path saved = fs::current_path();
    explicit InDir(const fs::path &dir) { fs::current_path(dir); }
    ~InDir() { fs::current_path(saved); }
};

}  // namespace kx::test
