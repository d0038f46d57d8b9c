#pragma once

#include <string>
#include <string_view>
#include <vector>

// Splits a pasted command line into its words, the way the shell it was written for would.
//
// Two forms are recognised. The POSIX shell form: blanks separate words; single quotes,
// double quotes (where \ escapes only $ ` " \ and a line break) and $'...' ANSI-C quoting;
// a backslash outside quotes escapes the next character, and a backslash before a line break
// continues the line; an unquoted # starts a comment; an unquoted | ; or & ends the command.
// The Windows cmd form, recognised by ^" or a line that ends in ^ (what a browser's "Copy as
// cURL (cmd)" writes): cmd's caret escapes and ^ line continuations first, then the C
// runtime's rules for double quotes and backslashes.
//
// $VARIABLES and %VARIABLES% are kept as written: nothing is expanded.
namespace tessaline::shellWords {

// Throws ImportError for a quote that is never closed.
std::vector<std::string> split(std::string_view text);

// Whether the text is written for Windows cmd rather than a POSIX shell.
bool isCmdForm(std::string_view text);

}  // namespace tessaline::shellWords
