// SPDX-License-Identifier: GPL-3.0-or-later
#include "RunProgram.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace kor::test
{

namespace
{

std::string takeFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    ::unlink(path.c_str());
    return text;
}

std::string temporaryFile()
{
    std::string name = "/tmp/morvahost-test-XXXXXX";
    ::close(::mkstemp(name.data()));
    return name;
}

}

int CRun::errorLines() const
{
    return static_cast<int>(std::count(err.begin(), err.end(), '\n')) + (!err.empty() && err.back() != '\n' ? 1 : 0);
}

CRun runHost(const std::vector<std::string>& arguments, const std::function<void(pid_t)>& whileRunning)
{
    std::vector<std::string> words = {MORVA_TEST_HOST};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);

    const std::string out = temporaryFile();
    const std::string err = temporaryFile();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_TRUNC, 0);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_TRUNC, 0);
    CRun run;
    pid_t child = 0;
    if (posix_spawn(&child, MORVA_TEST_HOST, &actions, nullptr, pointers.data(), environ) == 0)
    {
        if (whileRunning)
            whileRunning(child);
        int status = 0;
        while (::waitpid(child, &status, 0) < 0)
        {
        }
        run.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    run.out = takeFile(out);
    run.err = takeFile(err);
    return run;
}

}
