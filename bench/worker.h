#pragma once

#include <cstdio>
#include <string>
#include <sys/types.h>
#include <vector>

/// A child process that runs operations on request: reads lines "OPERATION COUNT" and answers each with one
/// number. It says one line of its own once it is ready, and ends with its standard input.
class Worker
{
public:
    /// Exits, with a message, when the program can't be started.
    explicit Worker(const std::vector<std::string> &command);
    ~Worker();
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    /// The answer; usually seconds for one of `count` operations.
    double run(const std::string &operation, int count);

private:
    std::string readLine();

    std::string m_name;
    pid_t m_process = -1;
    FILE *m_requests = nullptr;
    FILE *m_answers = nullptr;
};
