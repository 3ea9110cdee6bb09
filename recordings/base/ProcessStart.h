// What a program that writes files does before anything else.
#pragma once

namespace katessel {

// Opens something in the place of standard input, output and error where whoever started the process has closed them: a
// file that is opened later would get their number, and messages would land in it. What is read or written there fails,
// but for messages, which are lost. A file that grows beyond its limit is an error of the write, not the end.
void startSafely();

}  // namespace katessel
