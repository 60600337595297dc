// The standard streams of a command-line host.

#ifndef ZDS_PLATFORM_CONSOLE_H_
#define ZDS_PLATFORM_CONSOLE_H_

namespace zds::platform {

// Makes standard output and standard error carry bytes as they are
// written. Windows opens them as text streams that turn each "\n" into
// "\r\n", which would double the line ends of a format that has its own
// (vCard's CR LF) and make a command's output differ by platform.
void UseBinaryStandardStreams();

// Whether standard output goes to a terminal, where a person reads it,
// rather than to a file or a pipe.
bool StandardOutputIsTerminal();

}  // namespace zds::platform

#endif  // ZDS_PLATFORM_CONSOLE_H_
