// Variables of the process for the stretch of a test: unset at first, back at its end.
#pragma once
#include "support/testing.h"

#include <cstdlib>

namespace Support {

class Environment {
public:
    explicit Environment(const std::vector<std::string>& names) {
        for (const std::string& name : names) {
            const char* const value = std::getenv(name.c_str());
            Former[name] = value ? std::optional<std::string>(value) : std::nullopt;
            ::unsetenv(name.c_str());
        }
    }
    ~Environment() {
        for (const auto& [name, value] : Former)
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
    }
    Environment(Environment&&) = delete;

    void Set(const std::string& name, const std::string& value) const {
        ::setenv(name.c_str(), value.c_str(), 1);
    }

private:
    std::map<std::string, std::optional<std::string>> Former;
};

}
