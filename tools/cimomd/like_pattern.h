// Patterns of the query languages' LIKE.
//
// WQL: "%" stands for any characters, "_" for one, "[a-f]" and "[^a-f]" for one of a set.
// CQL: a regular expression of the plain kind: "." for one character, "[...]" for one of a set,
// "*",
// "+" and "?" behind either or behind a character, "\" before a character that means itself. No
// groups and no alternatives.
//
// A pattern covers the whole text, and case counts. Characters are those of UTF-8, not bytes.
#ifndef CIMOMD_LIKE_PATTERN_H_
#define CIMOMD_LIKE_PATTERN_H_

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cimomd {

class LikePattern
{
public:
    // Both return false with the cause in problem when text is no pattern.
    static bool readCql(std::string_view text, LikePattern& pattern, std::string& problem);
    static bool readWql(std::string_view text, LikePattern& pattern, std::string& problem);

    bool matches(std::string_view text) const;

private:
    // What one character of the text must be, and how often.
    struct Atom
    {
        bool accepts(std::string_view character) const;

        std::vector<std::pair<std::string, std::string>> ranges; // first and last character
        bool isNegated = false;                                  // any but these; none: any
        bool isOptional = false;
        bool isRepeated = false;
    };

    static Atom anyOne();
    static Atom only(std::string_view character);
    static bool readSet(std::string_view& rest, Atom& atom, std::string& problem);
    bool repeatLast(char mark, std::string& problem);
    bool readCqlAtom(std::string_view& rest, std::string& problem);
    void skipOptional(std::vector<bool>& reached) const;

    std::vector<Atom> mAtoms;
};

} // namespace cimomd

#endif
