// SPDX-License-Identifier: Apache-2.0
//
// What interrupts a run, and what is not interrupted. Signals are caught in children, because
// signal handlers belong to the whole process.
#include "blocxx/Interruption.hpp"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <functional>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Process.hpp"

namespace Interruption = blocxx::Interruption;
using blocxx::InterruptedException;
using blocxx::String;

namespace {

/// Runs `body` in a child. Returns the child's wait status.
int waitStatusOf(const std::function<int()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

int exitStatusOf(const std::function<int()>& body) {
    const int status = waitStatusOf(body);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Sends a signal to this process in a moment.
void signalSoon(int number) {
    const pid_t target = getpid();
    if (fork() == 0) {
        usleep(200'000);
        kill(target, number);
        _exit(0);
    }
}

template <class Step>
String interruptionOf(Step step) {
    try {
        step();
    } catch (const InterruptedException& e) {
        return e.getMessage();
    }
    return {};
}

TEST(Interruption, FailureIsThrownByTheNextStepAndByNoneThatIsSpared) {
    const auto failure = std::make_exception_ptr(std::runtime_error("the first"));
    Interruption::check();
    Interruption::failLater(failure);
    Interruption::failLater(std::make_exception_ptr(std::runtime_error("the second")));
    {
        const Interruption::Deferred outer;
        { const Interruption::Deferred inner; }
        EXPECT_NO_THROW(Interruption::check());
        EXPECT_EQ(Interruption::thrown(), nullptr);
    }
    try {
        Interruption::check();
        ADD_FAILURE() << "it was not thrown";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "the first");
    }
    EXPECT_EQ(Interruption::thrown(), failure);
    Interruption::forget();
    EXPECT_NO_THROW(Interruption::check());
    EXPECT_EQ(Interruption::thrown(), nullptr);
}

TEST(Interruption, SignalIsNamedAndTheFirstOneCounts) {
    for (const auto& [number, name] : {std::pair(SIGINT, "SIGINT"), std::pair(SIGTERM, "SIGTERM"),
                                       std::pair(SIGHUP, "SIGHUP")}) {
        EXPECT_EQ(exitStatusOf([&, number = number, name = name] {
                      Interruption::catchSignals();
                      raise(number);
                      raise(number == SIGINT ? SIGTERM : SIGINT);
                      return interruptionOf(Interruption::check) ==
                                     String("The run was interrupted by ") + name
                                 ? 0
                                 : 1;
                  }),
                  0)
            << name;
    }
}

TEST(Interruption, EndsTheProcessByTheSignal) {
    const int status = waitStatusOf([] {
        Interruption::endBySignal();  // none has come
        Interruption::catchSignals();
        raise(SIGTERM);
        Interruption::endBySignal();
        return 0;
    });
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST(Interruption, IgnoredSignalStaysIgnored) {
    EXPECT_EQ(exitStatusOf([] {
                  std::signal(SIGHUP, SIG_IGN);
                  Interruption::catchSignals();
                  raise(SIGHUP);
                  return Interruption::isPending() ? 1 : 0;
              }),
              0);
}

TEST(Interruption, EndsAWaitForInput) {
    EXPECT_EQ(
        exitStatusOf([] {
            int ends[2];
            if (pipe(ends) != 0) {
                return 99;
            }
            blocxx::File file(ends[0]);
            Interruption::catchSignals();
            signalSoon(SIGINT);
            return interruptionOf([&] { blocxx::FileSystem::readToEnd(file, "a pipe"); }).empty()
                       ? 1
                       : 0;
        }),
        0);
}

TEST(Interruption, EndsAProgramUnlessItIsSpared) {
    const auto run = [] {
        String output;
        blocxx::Process::Command command;
        command.argv = {"/bin/sh", "-c", "/bin/sleep 1; exit 7"};
        return blocxx::Process::run(command, output).toString();
    };
    EXPECT_EQ(exitStatusOf([&] {
                  Interruption::catchSignals();
                  signalSoon(SIGTERM);
                  return run() == "killed by signal 9 (Killed)" ? 0 : 1;
              }),
              0);
    EXPECT_EQ(exitStatusOf([&] {
                  Interruption::catchSignals();
                  signalSoon(SIGTERM);
                  bool hasRun = false;
                  {
                      const Interruption::Deferred deferred;
                      hasRun = run() == "exited with status 7";
                  }
                  return hasRun && Interruption::isPending() ? 0 : 1;
              }),
              0);
}

}  // namespace
