// Parameter files: sections of keys and values in plain text, and the string utilities that go with them.
//
//     # how the encoder is built
//     [encoder]
//     nlayers    10
//     dilations  1,2,4,8
//
// A line is stripped of blanks, tabs and line ends first. A line that starts with "#" is a comment. Any other line
// that holds "[" and, behind it, "]" starts the section named by what is between them. All other lines are entries:
// tokens separated by white space, a key, its value and whatever follows, which is kept but not looked at. Lines
// before the first section are dropped without a word.
#ifndef KATESSEL_INIFILE_H
#define KATESSEL_INIFILE_H

#include <string>
#include <vector>

#include "katessel/Export.h"

namespace KaTessel {

// One section, as in the file.
struct TINISECTION {
    std::string name;                               // without the brackets
    std::vector<std::vector<std::string>> entries;  // the tokens of each line, in file order: key, value, ..
};

// Reads the whole file and appends its sections, one for every section line, to what `sections` holds. When it cannot
// be opened or read, prints "error reading file PATH\n" on standard output and returns false; `sections` stays as it
// was.
KATESSEL_API bool loadIni(std::string path, std::vector<TINISECTION>& sections);

// Index of the first section of exactly that name, or -1.
KATESSEL_API int ini_findsection(const std::vector<TINISECTION>& sections, std::string name);

// The value of the last entry with exactly that key; empty when there is none or when that entry has no value.
KATESSEL_API std::string ini_section_readparam(const TINISECTION& section, std::string key);

// Look one key up in the first section of that name. They return false, and leave `value` alone, when there is no
// such section, when it has no entries or nothing but white space in the first one, when the key is missing and when
// it has no value.
//
// A number is read as a stream would, in the notation of the C locale: "1.5x" is 1.5 as a float and 1 as an int.
// A value that does not start with a number, or with one that is out of range, throws std::runtime_error, "Could not
// convert string "VALUE" to float." or ".. to integer.", and `value` stays as it was.
// A bool is true for "true" in upper or lower case and false for everything else, "1" and "yes" included.
// A list is split at every ","; each part, empty ones too, is an element and replaces what `value` held.
KATESSEL_API bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key,
                                 std::string& value);
KATESSEL_API bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key,
                                 float& value);
KATESSEL_API bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key,
                                 int& value);
KATESSEL_API bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key,
                                 bool& value);
KATESSEL_API bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key,
                                 std::vector<std::string>& value);
KATESSEL_API bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key,
                                 std::vector<float>& value);
KATESSEL_API bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key,
                                 std::vector<int>& value);

// The tokens of a text, separated by runs of white space; none is empty.
KATESSEL_API std::vector<std::string> split(std::string text);

// The parts of a text between the occurrences of `delimiter`: one more than there are occurrences, so an empty text
// gives one empty part. An empty delimiter occurs nowhere. With a `maximum` of 0 or more, at most that many parts:
// the rest of the text is dropped.
KATESSEL_API std::vector<std::string> split(std::string text, std::string delimiter, int maximum);

// Takes the name of a file apart: "/models/v1.2/encoder.tar.gz" is the directory "/models/v1.2/", the name
// "encoder.tar" and the extension ".gz"; put together again they give the path. There are no drives: `drive` becomes
// empty. A null path counts as an empty one. Any of the four buffers may be null; the others need room for the whole
// path and its terminating zero, as the sizes are not looked at, and must not overlap the path.
KATESSEL_API void _splitpath(const char* path, char* drive, int driveSize, char* dir, int dirSize, char* name,
                             int nameSize, char* ext, int extSize);

}  // namespace KaTessel

#endif
