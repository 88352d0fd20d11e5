/* The emulator refuses PR_SET_CHILD_SUBREAPER. The program asks for it by an option that the emulator passes on, with a
 * value that nobody uses, and the library in the emulator takes that for what it means. */
enum { passedOn = 29, adopt = 0x61646f70 }; /* PR_SET_TIMERSLACK */
