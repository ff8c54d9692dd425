// Writing a tree back as query text in a format set (see QueryTermFormat).
#include <optional>
#include <string>

#include <unicode/ustring.h>

#include "orvel/search/query_terms.h"

namespace orvel {

class QueryTerms::Writer {
 public:
  Writer(std::uint32_t format, const QueryOperatorWords* words) : _format(format), _words(words) {}

  std::u16string write(const QueryTerms& root) {
    writeNode(root, true);
    return std::move(_text);
  }

 private:
  bool has(std::uint32_t bit) const { return (_format & bit) != 0; }

  std::u16string_view word(std::u16string_view key) const {
    if (_words != nullptr) {
      const auto found = _words->find(key);
      if (found != _words->end()) return found->second;
    }
    return key;
  }

  // Full Unicode case mapping, no locale.
  static std::u16string mapCase(std::u16string_view text, bool upper) {
    std::u16string mapped(text.size() * 3 + 1, u'\0');
    UErrorCode status = U_ZERO_ERROR;
    const auto mapper = upper ? u_strToUpper : u_strToLower;
    const int32_t length =
        mapper(reinterpret_cast<UChar*>(mapped.data()), static_cast<int32_t>(mapped.size()),
               reinterpret_cast<const UChar*>(text.data()), static_cast<int32_t>(text.size()), "",
               &status);
    if (U_FAILURE(status)) return std::u16string(text);
    mapped.resize(static_cast<std::size_t>(length));
    return mapped;
  }

  void writeNode(const QueryTerms& node, bool topLevel) {
    if (node._queryNot) {
      if (has(QueryFormatAndNot)) {
        (_text += word(u"ANDNOT")) += u' ';
      } else if (has(QueryFormatNotWord)) {
        (_text += word(u"NOT")) += u' ';
      } else {
        _text += word(u"-");
      }
    }
    if (has(QueryFormatTilde) && node._querySubstr) _text += u'~';
    if (node._isWord) {
      writeLeaf(node);
    } else {
      writeGroup(node, topLevel);
    }
  }

  void writeLeaf(const QueryTerms& leaf) {
    const bool quoted = has(QueryFormatQuotes) && leaf._queryPhrase;
    if (quoted) _text += u'"';
    if (has(QueryFormatUppercase)) {
      _text += mapCase(leaf._string, true);
    } else if (has(QueryFormatLowercase)) {
      _text += mapCase(leaf._string, false);
    } else {
      _text += leaf._string;
    }
    if (quoted) _text += u'"';
  }

  void writeGroup(const QueryTerms& group, bool topLevel) {
    const std::size_t count = group._children.size();
    // Where a "+" goes once the first AND join shows that the first child needs one.
    std::optional<std::size_t> plusPosition;
    if (!group._queryNot && has(QueryFormatPlus) && count >= 2) plusPosition = _text.size();
    const bool parentheses = has(QueryFormatParentheses) && !topLevel && count >= 2;
    if (parentheses) _text += u'(';
    for (std::size_t index = 0; index < count; ++index) {
      const QueryTerms& child = group._children[index];
      if (child._queryNot && !has(QueryFormatNegated)) continue;
      if (index == 0 || child._queryOperator > QueryOperatorOPT ||
          writeJoiner(child, plusPosition)) {
        writeNode(child, false);
      }
    }
    if (parentheses) _text += u')';
  }

  void writeSpelled(std::u16string_view key) { ((_text += u' ') += word(key)) += u' '; }

  void writeProximity(std::u16string_view key, std::ptrdiff_t distance) {
    ((((_text += u' ') += word(key)) += u'/') += toUtf16(std::to_string(distance))) += u' ';
  }

  static std::u16string toUtf16(const std::string& ascii) {
    return std::u16string(ascii.begin(), ascii.end());
  }

  // Writes what joins child to its previous sibling; false when the child is left out.
  bool writeJoiner(const QueryTerms& child, std::optional<std::size_t>& plusPosition) {
    switch (child._queryOperator) {
      case QueryOperatorAND: writeAnd(child, plusPosition); return true;
      case QueryOperatorOR: writeOr(); return true;
      case QueryOperatorXOR:
        if (has(QueryFormatXorWord)) {
          writeSpelled(u"XOR");
        } else {
          writeOr();
        }
        return true;
      case QueryOperatorNEAR:
        writeProximityOrAnd(QueryFormatNear, u"NEAR", child, plusPosition);
        return true;
      case QueryOperatorBEFORE:
        writeProximityOrAnd(QueryFormatBefore, u"BEFORE", child, plusPosition);
        return true;
      case QueryOperatorAFTER:
        writeProximityOrAnd(QueryFormatAfter, u"AFTER", child, plusPosition);
        return true;
      case QueryOperatorNEXT:
        // NEXT with a distance means what BEFORE with it means.
        if (has(QueryFormatNext) && child._proximityDistance == 1) {
          writeSpelled(u"NEXT");
        } else {
          writeProximityOrAnd(QueryFormatBefore, u"BEFORE", child, plusPosition);
        }
        return true;
      default:  // OPT
        if (!has(QueryFormatOpt)) return false;
        writeSpelled(u"OPT");
        return true;
    }
  }

  void writeAnd(const QueryTerms& child, std::optional<std::size_t>& plusPosition) {
    if (has(QueryFormatAndWord) && has(QueryFormatNotWord)) {
      if (child._queryNot) {
        _text += u' ';  // its own "NOT " follows
      } else {
        writeSpelled(u"AND");
      }
      return;
    }
    if (plusPosition) {
      _text.insert(*plusPosition, 1, u'+');
      plusPosition.reset();
    }
    _text += (child._queryNot || !has(QueryFormatPlus)) ? u" " : u" +";
  }

  void writeOr() {
    if (has(QueryFormatOrWord) && !has(QueryFormatPlus)) {
      if (has(QueryFormatBar)) {
        _text += word(u"|");
      } else {
        writeSpelled(u"OR");
      }
    } else {
      _text += u' ';
    }
  }

  void writeProximityOrAnd(QueryTermFormat bit, std::u16string_view key, const QueryTerms& child,
                           std::optional<std::size_t>& plusPosition) {
    if (has(bit)) {
      writeProximity(key, child._proximityDistance);
    } else {
      writeAnd(child, plusPosition);
    }
  }

  std::uint32_t _format;
  const QueryOperatorWords* _words;
  std::u16string _text;
};

std::u16string QueryTerms::queryText(std::uint32_t format, const QueryOperatorWords* words) const {
  return Writer(format, words).write(*this);
}

}  // namespace orvel
