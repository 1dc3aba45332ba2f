#include "app/words.h"

// A large library: everything else of the program does without it.
#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>

namespace Commands {

Word Word::Needed() const {
    return {Declared->required()};
}

Word Word::Positive() const {
    return {Declared->check(CLI::PositiveNumber)};
}

Word Word::NotNegative() const {
    return {Declared->check(CLI::NonNegativeNumber)};
}

Word Word::Between(int low, int high) const {
    return {Declared->check(CLI::Range(low, high))};
}

Word Word::OneOf(const std::vector<std::string>& words) const {
    return {Declared->check(CLI::IsMember(words))};
}

Word Word::Values(int count) const {
    return {Declared->expected(count)};
}

Word Word::Repeated() const {
    return {Declared->expected(1)->take_all()};
}

Word Word::Requires(const Word& other) const {
    return {Declared->needs(other.Declared)};
}

Word Word::Excludes(const Word& other) const {
    return {Declared->excludes(other.Declared)};
}

template <class Value>
Word Words::Add(const char* name, Value& value, const char* help) const {
    return {Command->add_option(name, value, help)};
}

Word Words::Flag(const char* name, bool& value, const char* help) const {
    return {Command->add_flag(name, value, help)};
}

template Word Words::Add(const char*, std::string&, const char*) const;
template Word Words::Add(const char*, int&, const char*) const;
template Word Words::Add(const char*, double&, const char*) const;
template Word Words::Add(const char*, std::uint64_t&, const char*) const;
template Word Words::Add(const char*, std::optional<int>&, const char*) const;
template Word Words::Add(const char*, std::optional<double>&, const char*) const;
template Word Words::Add(const char*, std::vector<std::string>&, const char*) const;

}
