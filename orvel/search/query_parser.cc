// The query parser: one forward scan with pending state (operator, distance, negation,
// substring flag) that applies to the next term and is reset after it.
#include <cstdint>
#include <optional>

#include "orvel/search/query_terms.h"
#include "orvel/text/character_sets.h"
#include "orvel/text/integer_value.h"

namespace orvel {

class QueryTerms::Parser {
 public:
  Parser(std::u16string_view query, bool wildcard, QueryOperator defaultOperator,
         std::ptrdiff_t defaultDistance, QueryTerms& group, std::size_t depth = 0)
      : _query(query),
        _wildcard(wildcard),
        _defaultOperator(defaultOperator),
        _defaultDistance(defaultDistance),
        _group(group),
        _depth(depth) {
    resetPending();
  }

  void parse() {
    std::size_t i = 0;
    while (i < _query.size()) {
      // Most units are plain word units: pass over them without the full dispatch.
      while (i < _query.size() && isPlainUnit(_query[i])) ++i;
      if (i < _query.size()) i = step(i);
    }
    flush(_query.size());
  }

 private:
  static bool isQuote(unichar c) { return c == 0x0022 || (c >= 0x201C && c <= 0x201F); }

  // A unit that only ever belongs to the current part ("+" and "-" do not qualify: they
  // mean something at the start of a part).
  bool isPlainUnit(unichar c) const {
    switch (c) {
      case u'!':
      case u'+':
      case u'-':
      case u'&':
      case u'|':
      case u'^':
      case u'~':
      case u'(':
      case u')':
      case u'[':
      case u']': return false;
      default: return !isQuote(c) && !isMemberOfCharacterSetRep(_white, c);
    }
  }

  // Handles the unit at i; answers where the scan goes on.
  std::size_t step(std::size_t i) {
    const unichar c = _query[i];
    switch (c) {
      case u'!':
        flush(i);
        _not = true;
        return i + 1;
      case u'+':
      case u'-':
        if (i != _start) return i + 1;  // inside a word, as in «e-mail»
        flush(i);
        _not = c == u'-';
        return i + 1;
      case u'&':
        flush(i);
        _operator = QueryOperatorAND;
        return i + 1;
      case u'|':
        flush(i);
        _operator = QueryOperatorOR;
        return i + 1;
      case u'^':
        flush(i);
        _operator = QueryOperatorXOR;
        return i + 1;
      case u'~':
        flush(i);
        _substring = true;
        return i + 1;
      case u'(':
        flush(i);
        // Past the deepest group a "(" only ends the part before it, as ")" does.
        return _depth < kMaxQueryGroupDepth ? readGroup(i) : i + 1;
      case u')': flush(i); return i + 1;
      case u'[': {
        const std::size_t close = _query.find(u']', i);
        const std::size_t after = close == std::u16string_view::npos ? _query.size() : close + 1;
        if (_wildcard) return after;  // the bracket set stays in the current term
        flush(i);
        _start = after;  // the bracketed text is dropped
        return after;
      }
      case u']':
        if (!_wildcard) flush(i);
        return i + 1;
      default:
        if (isQuote(c)) {
          flush(i);
          return readPhrase(i);
        }
        if (isMemberOfCharacterSetRep(_white, c)) flush(i);
        return i + 1;
    }
  }

  void resetPending() {
    _operator = _defaultOperator;
    _distance = _defaultDistance;
    _not = false;
    _substring = false;
  }

  // Hands the part [start, i) to the part adder; the next part starts after i.
  void flush(std::size_t i) {
    if (addPart(_start, i)) resetPending();
    _start = i + 1;
  }

  std::u16string_view trim(std::u16string_view text) const {
    while (!text.empty() && isMemberOfCharacterSetRep(_white, text.front())) text.remove_prefix(1);
    while (!text.empty() && isMemberOfCharacterSetRep(_white, text.back())) text.remove_suffix(1);
    return text;
  }

  static bool equalsKeyword(std::u16string_view text, std::string_view keyword) {
    if (text.size() < keyword.size()) return false;
    for (std::size_t k = 0; k < keyword.size(); ++k) {
      unichar c = text[k];
      if (c >= u'a' && c <= u'z') c = static_cast<unichar>(c - u'a' + u'A');
      if (c != static_cast<unichar>(keyword[k])) return false;
    }
    return true;
  }

  // A proximity keyword, alone or with "/n"; answers whether text was one.
  bool proximityKeyword(std::u16string_view text, std::string_view keyword, QueryOperator op,
                        std::optional<std::ptrdiff_t> bareDistance) {
    const std::size_t n = keyword.size();
    if (!equalsKeyword(text, keyword)) return false;
    if (text.size() == n) {
      _operator = op;
      if (bareDistance) _distance = *bareDistance;
      return true;
    }
    if (text.size() >= n + 2 && text[n] == u'/') {
      _operator = op;
      _distance = integerValue(text.substr(n + 1));
      return true;
    }
    return false;
  }

  // Sets pending state when text is an operator keyword; answers whether it was one.
  bool keyword(std::u16string_view text) {
    switch (text.size()) {
      case 1:
        if (text[0] == u'|') return _operator = QueryOperatorOR, true;
        if (text[0] == u'^') return _operator = QueryOperatorXOR, true;
        if (text[0] == u'&') return _operator = QueryOperatorAND, true;
        return false;
      case 2:
        if (equalsKeyword(text, "OR")) return _operator = QueryOperatorOR, true;
        return false;
      case 3:
        if (equalsKeyword(text, "AND") || equalsKeyword(text, "BUT")) {
          return _operator = QueryOperatorAND, true;
        }
        if (equalsKeyword(text, "XOR") || equalsKeyword(text, "EOR")) {
          return _operator = QueryOperatorXOR, true;
        }
        if (equalsKeyword(text, "OPT")) return _operator = QueryOperatorOPT, true;
        if (equalsKeyword(text, "NOT")) return _not = !_not, true;
        return false;
      default:
        if (equalsKeyword(text, "NEAR")) {
          return proximityKeyword(text, "NEAR", QueryOperatorNEAR, std::nullopt);
        }
        if (equalsKeyword(text, "NEXT"))
          return proximityKeyword(text, "NEXT", QueryOperatorNEXT, 1);
        if (equalsKeyword(text, "AFTER")) {
          return proximityKeyword(text, "AFTER", QueryOperatorAFTER, NSIntegerMax);
        }
        return proximityKeyword(text, "BEFORE", QueryOperatorBEFORE, NSIntegerMax);
    }
  }

  // In wildcard mode a substring term becomes the pattern *term*.
  std::u16string termText(std::u16string_view text) const {
    if (_wildcard && _substring &&
        !(text.size() >= 2 && text.front() == u'*' && text.back() == u'*')) {
      return u"*" + std::u16string(text) + u"*";
    }
    return std::u16string(text);
  }

  // Adds [start, end) as a term unless it is empty or an operator keyword.
  bool addPart(std::size_t start, std::size_t end) {
    if (start >= end) return false;
    const std::u16string_view text = trim(_query.substr(start, end - start));
    if (text.empty() || keyword(text)) return false;
    _group.addChild(makeLeaf(termText(text), _operator, _not, _substring, false, _distance));
    return true;
  }

  // A phrase from the quote at i to the next quote (any of the five) or the end.
  std::size_t readPhrase(std::size_t i) {
    std::size_t j = i + 1;
    while (j < _query.size() && !isQuote(_query[j])) ++j;
    const std::u16string_view text = trim(_query.substr(i + 1, j - (i + 1)));
    if (!text.empty()) {
      _group.addChild(makeLeaf(termText(text), _operator, _not, _substring, true, _distance));
    }
    resetPending();
    _start = j + 1;
    return j + 1;
  }

  // A group from the "(" at i to its matching ")" or the end, parsed on its own with the
  // pending state as the group's own; a group of one term is replaced by the term.
  std::size_t readGroup(std::size_t i) {
    std::size_t depth = 1;
    std::size_t j = i + 1;
    for (; j < _query.size(); ++j) {
      if (_query[j] == u'(') ++depth;
      if (_query[j] == u')' && --depth == 0) break;
    }
    QueryTerms group;
    group._queryOperator = _operator;
    group._queryNot = _not;
    group._querySubstr = _substring;
    group._proximityDistance = _distance;
    Parser(_query.substr(i + 1, j - (i + 1)), _wildcard, _defaultOperator, _defaultDistance, group,
           _depth + 1)
        .parse();
    if (group._children.size() == 1) {
      QueryTerms child = std::move(group._children.front());
      child._queryOperator = _operator;
      child._queryNot = child._queryNot != _not;
      child._querySubstr = child._querySubstr || _substring;
      _group.addChild(std::move(child));
    } else if (group._children.size() >= 2) {
      _group.addChild(std::move(group));
    }
    resetPending();
    _start = j + 1;
    return j + 1;
  }

  std::u16string_view _query;
  CharacterSetRep _white = whiteCharacterSetRep();
  bool _wildcard;
  QueryOperator _defaultOperator;
  std::ptrdiff_t _defaultDistance;
  QueryTerms& _group;
  std::size_t _depth;  // groups around this one

  std::size_t _start = 0;
  QueryOperator _operator = QueryOperatorAND;
  std::ptrdiff_t _distance = 0;
  bool _not = false;
  bool _substring = false;
};

QueryTerms::QueryTerms(std::u16string_view query)
    : QueryTerms(query, kDefaultQueryOperator, kDefaultQueryDistance) {}

QueryTerms::QueryTerms(std::u16string_view query, QueryOperator defaultOperator,
                       std::ptrdiff_t defaultDistance) {
  _queryOperator = defaultOperator;
  _proximityDistance = defaultDistance;
  Parser(query, false, defaultOperator, defaultDistance, *this).parse();
}

QueryTerms QueryTerms::withWildcard(std::u16string_view query, QueryOperator defaultOperator,
                                    std::ptrdiff_t defaultDistance) {
  QueryTerms tree;
  tree._queryOperator = defaultOperator;
  tree._proximityDistance = defaultDistance;
  Parser(query, true, defaultOperator, defaultDistance, tree).parse();
  return tree;
}

std::optional<QueryTerms> QueryTerms::queryTermsWithString(std::optional<std::u16string_view> query,
                                                           QueryOperator defaultOperator,
                                                           std::ptrdiff_t defaultDistance) {
  if (!query) return std::nullopt;
  return QueryTerms(*query, defaultOperator, defaultDistance);
}

}  // namespace orvel
