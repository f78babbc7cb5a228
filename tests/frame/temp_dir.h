// A fresh directory for the tests' settings files, removed with everything in it at the end.
#pragma once

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

namespace kx::test {

class TempDir {
public:
    TempDir() {
        const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
        for (int attempt = 0;; ++attempt) {
            path_ = std::filesystem::temp_directory_path() /
                    ("kestrix-test-" + std::to_string(stamp) + "-" + std::to_string(attempt));
            if (std::filesystem::create_directory(path_)) break;
        }
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    const std::filesystem::path &path() const { return path_; }

    // Writes bytes exactly as given (no line-end translation) and returns the file's full path.
    std::string write(const std::string &name, const std::string &bytes) const {
        const std::filesystem::path file = path_ / name;
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return file.string();
    }

private:
    std::filesystem::path path_;
};

// Changes the current directory for one scope.
class ScopedCurrentDir {
public:
    explicit ScopedCurrentDir(const std::filesystem::path &dir) : saved_(std::filesystem::current_path()) {
        std::filesystem::current_path(dir);
    }
    ~ScopedCurrentDir() { std::filesystem::current_path(saved_); }
    ScopedCurrentDir(const ScopedCurrentDir &) = delete;
    ScopedCurrentDir &operator=(const ScopedCurrentDir &) = delete;

private:
    std::filesystem::path saved_;
};

}  // namespace kx::test
