// What a command takes on its line, declared: arguments in their order, options and flags with names.
#pragma once
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}

namespace Commands {

// One of them. What does not fit its rules is refused before the command runs.
struct Word {
    CLI::Option* Declared;

    Word Needed() const;
    Word Positive() const;
    Word NotNegative() const;
    Word Between(int low, int high) const;
    Word OneOf(const std::vector<std::string>& words) const;
    Word Values(int count) const;           // behind one name
    Word Repeated() const;                  // as often as wanted, one value each time
    Word Requires(const Word& other) const; // is only taken with it
    Word Excludes(const Word& other) const;
};

struct Words {
    CLI::App* Command;

    // A name without dashes is an argument. The value keeps what stands in it unless the user gives another.
    // Value: a type that words.cpp has.
    template <class Value>
    Word Add(const char* name, Value& value, const char* help) const;
    Word Flag(const char* name, bool& value, const char* help) const;
};

}
