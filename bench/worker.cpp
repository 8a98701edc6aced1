#include "worker.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

Worker::Worker(const std::vector<std::string> &command)
    : m_name(command.front())
{
    int requests[2];
    int answers[2];
    if (pipe2(requests, O_CLOEXEC) != 0 || pipe2(answers, O_CLOEXEC) != 0) {
        std::perror("pipe2");
        std::exit(1);
    }
    std::vector<char *> arguments;
    for (const std::string &argument : command) {
        arguments.push_back(const_cast<char *>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    m_process = fork();
    if (m_process == 0) {
        dup2(requests[0], STDIN_FILENO);
        dup2(answers[1], STDOUT_FILENO);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    close(requests[0]);
    close(answers[1]);
    m_requests = fdopen(requests[1], "w");
    m_answers = fdopen(answers[0], "r");
    readLine();
}

Worker::~Worker()
{
    std::fclose(m_requests);
    waitpid(m_process, nullptr, 0);
    std::fclose(m_answers);
}

double Worker::run(const std::string &operation, int count)
{
    std::fprintf(m_requests, "%s %d\n", operation.c_str(), count);
    std::fflush(m_requests);
    return std::stod(readLine());
}

std::string Worker::readLine()
{
    char line[256];
    if (!std::fgets(line, sizeof line, m_answers)) {
        std::fprintf(stderr, "%s ended early\n", m_name.c_str());
        std::exit(1);
    }
    return line;
}
