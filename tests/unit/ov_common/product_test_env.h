// A platform of its own for each test: a temporary directory, in front of PATH, with an "ov_env_get" that
// answers from files there and notes each run; and what was logged meanwhile.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ov_product.h"

#include "../support/log_tap.h"

// Sets an environment variable, and puts back what was there.
class ScopedVariable {
public:
    ScopedVariable(std::string name, const char* value) : name_(std::move(name)) {
        if (const char* old = getenv(name_.c_str()); old != nullptr) {
            was_set_ = true;
            old_ = old;
        }
        if (value != nullptr)
            setenv(name_.c_str(), value, 1);
        else
            unsetenv(name_.c_str());
    }
    ~ScopedVariable() {
        if (was_set_)
            setenv(name_.c_str(), old_.c_str(), 1);
        else
            unsetenv(name_.c_str());
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    std::string name_;
    std::string old_;
    bool was_set_ = false;
};

class FakePlatform {
public:
    FakePlatform()
        : dir_(make_dir()), path_("PATH", (dir_ / "bin").string().append(":").append(getenv("PATH")).c_str()),
          log_("OV_LOG_FILE", (dir_ / "log").c_str()) {
        std::filesystem::create_directories(dir_ / "bin");
        std::filesystem::create_directories(dir_ / "env");
        const auto tool = dir_ / "bin" / "ov_env_get";
        // Builtins only: a test may make hundreds of look-ups.
        std::ofstream(tool) << "#!/bin/sh\n"
                            << "echo \"$1\" >> '" << (dir_ / "runs").string() << "'\n"
                            << "{ IFS= read -r value < '" << (dir_ / "env").string()
                            << "/'\"$1\"; } 2>/dev/null || exit 1\n"
                            << "printf '%s\\n' \"$value\"\n";
        std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
        ov_product_deinit();
    }
    ~FakePlatform() {
        ov_product_deinit();
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }
    FakePlatform(const FakePlatform&) = delete;
    FakePlatform& operator=(const FakePlatform&) = delete;

    void set(const std::string& key, const std::string& value) {
        std::ofstream(dir_ / "env" / key) << value << '\n';
    }
    void unset(const std::string& key) { std::filesystem::remove(dir_ / "env" / key); }
    // Writes a file of the test's own and gives its path.
    std::string file(const std::string& name, const std::string& content) {
        const auto path = dir_ / name;
        std::ofstream(path) << content;
        return path.string();
    }
    std::vector<std::string> runs() const {
        std::vector<std::string> keys;
        std::ifstream in(dir_ / "runs");
        for (std::string key; std::getline(in, key);)
            keys.push_back(key);
        return keys;
    }
    long runs_of(const std::string& key) const {
        const auto keys = runs();
        return std::count(keys.begin(), keys.end(), key);
    }

private:
    static std::filesystem::path make_dir() {
        std::string name = (std::filesystem::temp_directory_path() / "gpon_product_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            std::abort();
        return name;
    }

    std::filesystem::path dir_;
    ScopedVariable path_;
    ScopedVariable log_;
};
