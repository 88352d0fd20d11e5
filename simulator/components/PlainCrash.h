#ifndef PLAIN_CRASH_H
#define PLAIN_CRASH_H

/// Has this process crash as any program does: by the signal itself, without a sanitizer's report, and without a core
/// file, which the kernel would put into the working directory, where every file counts as a module.
void crashPlainly();

#endif
