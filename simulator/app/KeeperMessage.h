#ifndef KEEPER_MESSAGE_H
#define KEEPER_MESSAGE_H

#include <optional>
#include <string>
#include <vector>

/// What the simulator and its keeper say to each other, one message a packet of their socket.
struct KeeperMessage
{
    enum Kind : char {
        // To the keeper.
        Run = 'R', ///< name, file for its output, program, arguments...
        Signal = 'S', ///< name, number
        Clear = 'C', ///< name of the process that stays: everything else below the keeper is killed
        // From the keeper.
        Started = 's', ///< name, pid
        Failed = 'f', ///< name, why
        Ended = 'e', ///< name, wait status
        Cleared = 'c', ///< how many were killed
    };

    Kind kind = Run;
    std::vector<std::string> words;

    /// False when the other side has gone.
    bool send(int socket) const;
    /// Waits for one; nothing when the other side has gone.
    [[nodiscard]] static std::optional<KeeperMessage> receive(int socket);
};

#endif
