#ifndef ZEPH_TESTS_OUTCOME_H
#define ZEPH_TESTS_OUTCOME_H

#include <stdio.h>
#include <sys/wait.h>

#include <string>

// What became of a command of the shell.
struct Outcome {
    int status;
    std::string output;  // and messages
};

inline Outcome RunCommand(const std::string& command)
{
    Outcome outcome;
    FILE* pipe = popen(("{ " + command + "; } 2>&1").c_str(), "r");
    char block[4096];
    for (size_t got; (got = fread(block, 1, sizeof block, pipe)) > 0;)
        outcome.output.append(block, got);
    int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

#endif
