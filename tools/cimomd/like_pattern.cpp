#include "like_pattern.h"

#include <algorithm>

namespace cimomd {

namespace {

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// Takes the next UTF-8 character off rest, which is not empty.
std::string_view takeCharacter(std::string_view& rest)
{
    size_t bytes = 1;
    while (bytes < rest.size() && isContinuation(rest[bytes])) {
        ++bytes;
    }
    const std::string_view character = rest.substr(0, bytes);
    rest.remove_prefix(bytes);
    return character;
}

} // namespace

// The order of UTF-8 texts is the order of their characters.
bool LikePattern::Atom::accepts(std::string_view character) const
{
    const bool isListed = std::any_of(ranges.begin(), ranges.end(), [character](const auto& range) {
        return range.first <= character && character <= range.second;
    });
    return isListed != isNegated;
}

LikePattern::Atom LikePattern::anyOne()
{
    Atom atom;
    atom.isNegated = true;
    return atom;
}

LikePattern::Atom LikePattern::only(std::string_view character)
{
    Atom atom;
    atom.ranges.emplace_back(character, character);
    return atom;
}

// Reads a set from behind its "[". A "]" that comes first is a member.
bool LikePattern::readSet(std::string_view& rest, Atom& atom, std::string& problem)
{
    if (rest.starts_with('^')) {
        atom.isNegated = true;
        rest.remove_prefix(1);
    }
    while (!rest.empty() && (!rest.starts_with(']') || atom.ranges.empty())) {
        const std::string_view first = takeCharacter(rest);
        std::string_view last = first;
        if (rest.size() > 1 && rest[0] == '-' && rest[1] != ']') {
            rest.remove_prefix(1);
            last = takeCharacter(rest);
        }
        atom.ranges.emplace_back(first, last);
    }
    if (rest.empty()) {
        problem = "\"[\" without \"]\" in a LIKE pattern";
        return false;
    }
    rest.remove_prefix(1);
    return true;
}

bool LikePattern::repeatLast(char mark, std::string& problem)
{
    if (mAtoms.empty() || mAtoms.back().isOptional) {
        problem = std::string("nothing to repeat before \"") + mark + "\" in a LIKE pattern";
        return false;
    }
    if (mark == '+') {
        mAtoms.push_back(mAtoms.back());
    }
    mAtoms.back().isOptional = true;
    mAtoms.back().isRepeated = mark != '?';
    return true;
}

bool LikePattern::readCqlAtom(std::string_view& rest, std::string& problem)
{
    std::string_view character = takeCharacter(rest);
    switch (character.front()) {
    case '.':
        mAtoms.push_back(anyOne());
        return true;
    case '[':
        return readSet(rest, mAtoms.emplace_back(), problem);
    case '*':
    case '+':
    case '?':
        return repeatLast(character.front(), problem);
    case '(':
    case ')':
    case '|':
        problem = "groups and alternatives are not supported in a LIKE pattern";
        return false;
    case '\\':
        if (rest.empty()) {
            problem = "a LIKE pattern ends in \"\\\"";
            return false;
        }
        character = takeCharacter(rest);
        break;
    default:
        break;
    }
    mAtoms.push_back(only(character));
    return true;
}

bool LikePattern::readCql(std::string_view text, LikePattern& pattern, std::string& problem)
{
    pattern.mAtoms.clear();
    // The anchors say what holds anyway.
    if (text.starts_with('^')) {
        text.remove_prefix(1);
    }
    if (text.ends_with('$') && !text.ends_with("\\$")) {
        text.remove_suffix(1);
    }
    while (!text.empty()) {
        if (!pattern.readCqlAtom(text, problem)) {
            return false;
        }
    }
    return true;
}

bool LikePattern::readWql(std::string_view text, LikePattern& pattern, std::string& problem)
{
    pattern.mAtoms.clear();
    while (!text.empty()) {
        const std::string_view character = takeCharacter(text);
        if (character == "%") {
            pattern.mAtoms.push_back(anyOne());
            pattern.mAtoms.back().isOptional = true;
            pattern.mAtoms.back().isRepeated = true;
        } else if (character == "_") {
            pattern.mAtoms.push_back(anyOne());
        } else if (character == "[") {
            if (!readSet(text, pattern.mAtoms.emplace_back(), problem)) {
                return false;
            }
        } else {
            pattern.mAtoms.push_back(only(character));
        }
    }
    return true;
}

// Where an atom that may be left out is reached, the one behind it is reached too.
void LikePattern::skipOptional(std::vector<bool>& reached) const
{
    for (size_t i = 0; i < mAtoms.size(); ++i) {
        if (reached[i] && mAtoms[i].isOptional) {
            reached[i + 1] = true;
        }
    }
}

// Follows all ways through the pattern at once, so that no pattern takes exponential time.
bool LikePattern::matches(std::string_view text) const
{
    std::vector<bool> reached(mAtoms.size() + 1);
    reached[0] = true;
    skipOptional(reached);
    while (!text.empty()) {
        const std::string_view character = takeCharacter(text);
        std::vector<bool> next(mAtoms.size() + 1);
        for (size_t i = 0; i < mAtoms.size(); ++i) {
            if (reached[i] && mAtoms[i].accepts(character)) {
                next[mAtoms[i].isRepeated ? i : i + 1] = true;
            }
        }
        skipOptional(next);
        reached.swap(next);
    }
    return reached.back();
}

} // namespace cimomd
