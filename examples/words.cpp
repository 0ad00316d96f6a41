// Words and phrases: a word is a run of bytes other than "\t\n\v\f\r ".
// Word numbers start at 1; positions are 1-based bytes; 0 means "none".
#include <iostream>
#include <zyncmncoll.hpp>

int main() {
  std::cout << std::boolalpha;
  DString text("  the quick\tbrown fox  jumps over the lazy dog ");
  std::cout << "words: " << text.numWords() << "\n";
  std::cout << "word 3: \"" << text.word(3) << "\", " << text.lengthOfWord(3)
            << " bytes at byte " << text.indexOfWord(3) << "\n";
  // words() keeps the white space between the words it returns.
  std::cout << "words 2-4: \"" << text.words(2, 3) << "\"\n";

  // findPhrase matches words in order, whatever the spacing between them.
  DString phrase("the   lazy");
  unsigned int const at = text.findPhrase(phrase);
  unsigned int const wordAt = text.findPhrase(phrase, 1, DString::wordIndex);
  std::cout << "\"the lazy\" at byte " << at << ", word " << wordAt << "\n";

  // space() rebuilds the text with one separator between words (leading
  // and trailing white space goes); removeWords() drops words and the
  // white space behind them.
  DString tidy = text;
  tidy.space();
  std::cout << "spaced: \"" << tidy << "\"\n";
  DString shorter = tidy;
  shorter.removeWords(2, 2);
  std::cout << "without words 2-3: \"" << shorter << "\"\n";
  DString dashed = tidy;
  dashed.space(1, '-');
  std::cout << "dashed: \"" << dashed << "\"\n";

  // Abbreviations and wildcard matching, as command parsers use them.
  DString command("rem");
  std::cout << "\"rem\" abbreviates \"remove\" (at least 3): "
            << command.isAbbrevFor("remove", 6, 3) << "\n";
  std::cout << "\"brown fox\" is like \"b*f?x\": "
            << DString("brown fox").isLike(DString("b*f?x")) << "\n";

  bool const ok = text.numWords() == 9 && text.word(3) == "brown" && at == 35 &&
                  wordAt == 7 &&
                  tidy == "the quick brown fox jumps over the lazy dog" &&
                  shorter == "the fox jumps over the lazy dog" &&
                  dashed == "the-quick-brown-fox-jumps-over-the-lazy-dog";
  return ok ? 0 : 1;
}
