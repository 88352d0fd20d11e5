#include "app/Descendants.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <csignal>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <thread>

#include <dirent.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

/// 0 when the process has gone. The name in the second field may hold blanks and brackets, so the last bracket counts.
pid_t parentOf(const std::string &pid)
{
    std::ifstream file("/proc/" + pid + "/stat");
    std::string text;
    std::getline(file, text, '\0');
    const std::size_t nameEnd = text.rfind(')');
    if (nameEnd == std::string::npos) {
        return 0;
    }
    std::istringstream rest(text.substr(nameEnd + 1));
    std::string state;
    pid_t parent = 0;
    rest >> state >> parent;
    return parent;
}

std::multimap<pid_t, pid_t> childrenByParent()
{
    std::multimap<pid_t, pid_t> children;
    DIR *proc = opendir("/proc");
    if (!proc) {
        return children;
    }
    while (const dirent *entry = readdir(proc)) {
        const std::string name = entry->d_name;
        if (std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isdigit(c) != 0; })) {
            children.emplace(parentOf(name), std::stoi(name));
        }
    }
    closedir(proc);
    return children;
}

} // namespace

std::vector<pid_t> Descendants::list()
{
    const std::multimap<pid_t, pid_t> children = childrenByParent();
    std::vector<pid_t> found = {getpid()};
    for (std::size_t i = 0; i < found.size(); ++i) {
        const auto range = children.equal_range(found[i]);
        for (auto child = range.first; child != range.second; ++child) {
            found.push_back(child->second);
        }
    }
    found.erase(found.begin());
    return found;
}

int Descendants::kill(pid_t spared, const std::function<void()> &reap)
{
    std::set<pid_t> killed;
    const auto limit = std::chrono::steady_clock::now() + 10s;
    while (std::chrono::steady_clock::now() < limit) {
        reap();
        bool left = false;
        for (const pid_t pid : list()) {
            if (pid != spared) {
                left = true;
                ::kill(pid, SIGKILL); // also ends one that is stopped
                killed.insert(pid);
            }
        }
        if (!left) {
            break;
        }
        std::this_thread::sleep_for(1ms);
    }
    return static_cast<int>(killed.size());
}
