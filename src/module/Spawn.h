#ifndef SPAWN_H
#define SPAWN_H

#include <QByteArray>

#include <vector>

#include <spawn.h>

/**
 * posix_spawn with what a supervised process needs: a process group of its own, no blocked signal and every handler at
 * its default.
 */
class Spawn
{
public:
    Spawn();
    ~Spawn();
    Spawn(const Spawn &) = delete;
    Spawn &operator=(const Spawn &) = delete;

    /// `descriptor` becomes the child's standard input.
    void takeInput(int descriptor);
    void discardOutput();
    void changeDirectory(const QByteArray &directory);

    /// Runs the program that the first word names, with the words as its arguments. 0, or the error's number.
    int run(pid_t &pid, std::vector<QByteArray> words);

private:
    posix_spawn_file_actions_t m_actions = {};
    posix_spawnattr_t m_attributes = {};
};

#endif
