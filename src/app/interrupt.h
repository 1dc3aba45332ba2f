// Ctrl-C as the Stop button: the running work ends at its next step and keeps what it has. A second Ctrl-C
// ends the process at once.
#pragma once

namespace Interrupt {

[[nodiscard]] bool Requested();

// Listens while it lives.
class Guard {
public:
    Guard();
    ~Guard();
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
};

}
