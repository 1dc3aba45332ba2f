// Another program that has a data set open: a copy of the test that opens it, waits for a word, does its work
// and ends; or is killed.
#pragma once
#include "support/data_session.h"

#include <csignal>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace Support {

class Holder {
public:
    using Work = std::function<bool(DataSession& session)>;

    // Returns when the data set is open there, or could not be opened.
    Holder(const std::string& path, OpenMode mode, Work work = nullptr) {
        int toChild[2], toParent[2];
        if (::pipe(toChild) != 0 || ::pipe(toParent) != 0) std::abort();
        Child = ::fork();
        if (Child == 0) {
            ::close(toChild[1]);
            ::close(toParent[0]);
            Hold(path, mode, work, toChild[0], toParent[1]);
        }
        ::close(toChild[0]);
        ::close(toParent[1]);
        Orders = toChild[1];
        Answers = toParent[0];
        IsOpen = Answered();
    }
    ~Holder() {
        if (Child > 0) Kill();
        ::close(Orders);
        ::close(Answers);
    }
    Holder(Holder&&) = delete;

    // Lets it do its work and end in an orderly way. True when both succeeded.
    bool Finish() {
        if (::write(Orders, "g", 1) != 1) return false;
        const bool done = Answered();
        return Wait() == 0 && done;
    }
    void Kill() {
        ::kill(Child, SIGKILL);
        (void)Wait();
    }

    bool IsOpen = false;

private:
    [[noreturn]] static void Hold(const std::string& path, OpenMode mode, const Work& work, int orders,
                                  int answers) {
        const Messages::Recorder said;
        DataSession session;
        const auto answer = [answers](bool yes) { return ::write(answers, yes ? "y" : "n", 1) == 1; };
        char order = 0;
        if (!answer(OpenDataFile(session, path, {.Mode = mode})) || ::read(orders, &order, 1) != 1)
            ::_exit(2);
        const bool worked = !work || work(session);
        const bool closed = CloseDataFile(session, true);
        ::_exit(answer(worked && closed) ? 0 : 3);
    }
    [[nodiscard]] bool Answered() const {
        char answer = 0;
        return ::read(Answers, &answer, 1) == 1 && answer == 'y';
    }
    int Wait() {
        int status = -1;
        (void)::waitpid(Child, &status, 0);
        Child = 0;
        return status;
    }

    pid_t Child = 0;
    int Orders = -1, Answers = -1;
};

}
