#include "app/KeeperMessage.h"

#include <array>
#include <cerrno>

#include <sys/socket.h>

namespace {

constexpr std::size_t longestMessage = 16384;

} // namespace

bool KeeperMessage::send(int socket) const
{
    std::string packet(1, kind);
    for (const std::string &word : words) {
        packet += word + '\0';
    }
    ssize_t sent = 0;
    do {
        sent = ::send(socket, packet.data(), packet.size(), MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(packet.size());
}

std::optional<KeeperMessage> KeeperMessage::receive(int socket)
{
    std::array<char, longestMessage> packet;
    ssize_t size = 0;
    do {
        size = recv(socket, packet.data(), packet.size(), 0);
    } while (size < 0 && errno == EINTR);
    if (size <= 0) {
        return {};
    }
    KeeperMessage message;
    message.kind = static_cast<Kind>(packet[0]);
    std::string word;
    for (ssize_t i = 1; i < size; ++i) {
        const char c = packet[static_cast<std::size_t>(i)];
        if (c == '\0') {
            message.words.push_back(word);
            word.clear();
        } else {
            word += c;
        }
    }
    return message;
}
