// Tells what a process has that was started set-user-id, after our entry has dealt with it.
//
// Usage: set-user-id-probe facts | threads | run PROGRAM ARGUMENT... | give-up

#include "platform/CommandRunner.h"
#include "platform/Privileges.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

extern "C" {
extern char **environ; // NOLINT(readability-redundant-declaration)
// The leak checker wants to trace its own process, which is not allowed for one with rights to give away.
const char *__asan_default_options(); // NOLINT
const char *__asan_default_options()  // NOLINT
{
    return "detect_leaks=0";
}
}

namespace {

void printIds(const char *when)
{
    const slicewise::UserIdSet ids = slicewise::UserIdCalls().ids();
    std::printf("%s real %u effective %u saved %u\n", when, ids.real, ids.effective, ids.saved);
}

void printFacts(const slicewise::Privileges &privileges)
{
    std::printf("set-user-id %s\n", privileges.isSetUserId() ? "yes" : "no");
    for (char **variable = environ; *variable != nullptr; ++variable) {
        std::printf("variable %s\n", *variable);
    }
    const ::mode_t mask = ::umask(0);
    std::printf("umask %03o\n", mask);
    for (int descriptor = 0; descriptor < 64; ++descriptor) {
        struct stat status = {};
        if (::fstat(descriptor, &status) == 0) {
            std::printf("descriptor %d\n", descriptor);
        }
    }
}

/// "main effective 0", of every thread of ours.
void printThreads(const char *when)
{
    DIR *tasks = ::opendir("/proc/self/task");
    while (const dirent *entry = tasks != nullptr ? ::readdir(tasks) : nullptr) {
        if (entry->d_name[0] == '.') {
            continue;
        }
        std::ifstream status(std::string("/proc/self/task/") + entry->d_name + "/status");
        std::string line;
        while (std::getline(status, line)) {
            unsigned real = 0;
            unsigned effective = 0;
            if (std::sscanf(line.c_str(), "Uid: %u %u", &real, &effective) == 2) {
                const bool isMain = std::stoi(entry->d_name) == ::getpid();
                std::printf("%s %s effective %u\n", when, isMain ? "main" : "other", effective);
            }
        }
    }
    if (tasks != nullptr) {
        ::closedir(tasks);
    }
}

void watchThreads(const slicewise::Privileges &privileges)
{
    std::atomic<bool> end = false;
    std::thread other([&] { end.wait(false); });
    printThreads("before");
    {
        const slicewise::Privileges::AsRoot asRoot(privileges);
        printThreads("during");
    }
    printThreads("after");
    end = true;
    end.notify_all();
    other.join();
}

} // namespace

int main(int argc, char **argv)
{
    slicewise::Privileges privileges = slicewise::Privileges::dropAtEntry();
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    printIds("entry");
    const std::string_view what = argc > 1 ? argv[1] : "";
    if (what == "facts") {
        printFacts(privileges);
    } else if (what == "threads") {
        watchThreads(privileges);
    } else if (what == "run" && argc > 2) {
        int status = 0;
        {
            const slicewise::Privileges::AsRoot asRoot(privileges);
            status = slicewise::runCommand(argv[2], slicewise::ArgumentVector(argv + 2, argv + argc));
        }
        std::printf("status %d\n", status);
        printIds("afterwards");
    } else if (what == "give-up") {
        privileges.giveUpForGood();
        printIds("given up");
        std::printf("root again: %s\n", ::seteuid(0) == 0 ? "yes" : "no");
        std::printf("set-user-id %s\n", privileges.isSetUserId() ? "yes" : "no");
    } else {
        return 2;
    }
    return 0;
}
