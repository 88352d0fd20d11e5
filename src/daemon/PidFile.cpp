#include "daemon/PidFile.h"

#include <QByteArray>
#include <QFile>
#include <QString>

#include <cstdio>

#include <sys/stat.h>
#include <unistd.h>

void writePidFile(const std::string &path)
{
    QFile file(QFile::decodeName(path.c_str()));
    if (file.exists()) {
        file.remove();
    }
    // The daemon's own mask lets everybody write, and whoever had it open by then could go on writing.
    const mode_t ownMask = umask(S_IWGRP | S_IWOTH);
    const bool isOpen = file.open(QIODevice::WriteOnly);
    umask(ownMask);
    if (!isOpen) {
        std::printf("PID opening error  : %s", file.errorString().toLocal8Bit().constData());
        std::fflush(stdout);
        return;
    }
    const QByteArray pid = QByteArray::number(getpid());
    std::printf("PID  : %s", pid.constData());
    std::fflush(stdout);
    file.write(pid + '\n');
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
}
