#ifndef PLAIN_CRASH_H
#define PLAIN_CRASH_H

/// Lets a fatal signal end this process without the report of a sanitizer, and without a core file: the kernel would
/// write that into the working directory, where the supervisor treats every file as a module.
void crashPlainly();

#endif
