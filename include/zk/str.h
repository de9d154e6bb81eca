/* Strings: functions on NUL-terminated byte strings.
 *
 * Caller's buffers are never checked: each comment says what they must hold. Destination and source
 * may overlap. Functions on text return the destination (null for a null one) unless stated; a null
 * source counts as "".
 *
 * White space means blank, tab, newline, vertical tab, form feed and carriage return; "blank" means
 * the blank alone. Upper and lower case follow the process's one byte-case map (Windows: current
 * code page; Linux: ASCII, so that UTF-8 sequences stay whole). Work is byte by byte unless a
 * comment says "characters of the code page". None of these functions traces.
 */
#ifndef ZK_STR_H
#define ZK_STR_H

#include "zk/strlist.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

/* ---- Trimming and justifying, in place ---- */

/* Remove white space at the front, at the end, at both. */
ZK_API char *ZK_CALL zk_Str_rlb(char *string);
ZK_API char *ZK_CALL zk_Str_rtb(char *string);
ZK_API char *ZK_CALL zk_Str_delBlks(char *string);
/* Appends blanks up to `width` characters; never cuts. The buffer holds width + 1 bytes, here and
 * below. */
ZK_API char *ZK_CALL zk_Str_pad(char *string, int32_t width);
/* Left-justify, right-justify, centre in exactly `width` characters (negative: 0). A longer string
 * is cut at the end. An odd spare blank of the centred text goes to the right. */
ZK_API char *ZK_CALL zk_Str_lj(char *string, int32_t width);
ZK_API char *ZK_CALL zk_Str_rj(char *string, int32_t width);
ZK_API char *ZK_CALL zk_Str_cj(char *string, int32_t width);
/* Remove every occurrence of a character, of a blank, of any character in `set` (with a non-zero
 * `leadingOnly` only up to the first character that stays). A null set removes nothing. */
ZK_API char *ZK_CALL zk_Str_stripChar(char *string, char character);
ZK_API char *ZK_CALL zk_Str_strip(char *string);
ZK_API char *ZK_CALL zk_Str_stripChars(char *string, const char *set, int leadingOnly);

/* ---- Copying and case ---- */

/* The destination holds the source's length + 1 bytes. A null source makes the destination empty
 * and gives null. */
ZK_API char *ZK_CALL zk_Str_cpy(char *destination, const char *source);
/* Copies at most `n` characters and terminates; the destination holds n + 1 bytes. 1 if exactly `n`
 * were copied (the source has at least that many), else 0. An `n` below 1 or a null source makes
 * the destination empty and gives 0. */
ZK_API int ZK_CALL zk_Str_ncpy(char *destination, const char *source, int32_t n);
/* A copy to be released with zk_Free; null for null or when refused. dupW is the same, byte for
 * byte. */
ZK_API char *ZK_CALL zk_Str_dup(const char *string);
ZK_API char *ZK_CALL zk_Str_dupW(const char *string);
/* Appends; null if either is null. The destination holds both lengths + 1 bytes and may itself be
 * the source. */
ZK_API char *ZK_CALL zk_Str_cat(char *destination, const char *source);
/* Copies up to `count` characters from the 1-based position `start` (below 1 counts as 1); empty
 * when that is past the end. */
ZK_API char *ZK_CALL zk_Str_substr(char *destination, const char *source, int32_t start,
                                   int32_t count);
ZK_API char *ZK_CALL zk_Str_toLower(char *destination, const char *source);
ZK_API char *ZK_CALL zk_Str_toUpper(char *destination, const char *source);
/* Compare ignoring case, ncmpi at most `n` characters: -1, 0 or 1; a string that ends first is
 * less. Null counts as "". */
ZK_API int ZK_CALL zk_Str_cmpi(const char *a, const char *b);
ZK_API int ZK_CALL zk_Str_ncmpi(const char *a, const char *b, int32_t n);

/* ---- Words and tokens ---- */

/* Walk through a text: `*position`, at first 0, is the byte offset from which to go on. When it
 * lies outside the source the destination becomes empty and the position stays. The destination
 * holds the longest word + 1 bytes. nextSDLWord: skips blanks and copies the word up to the next
 * blank; the position ends behind it. nextCDLWord: steps over one ";" at the position and copies up
 * to the next ";", where the position ends. So an empty field gives "", except that one at the very
 * front is stepped over. */
ZK_API char *ZK_CALL zk_Str_nextSDLWord(char *destination, const char *source, int32_t *position);
ZK_API char *ZK_CALL zk_Str_nextCDLWord(char *destination, const char *source, int32_t *position);
/* How many characters to drop from the end of the string's first `n` so that they end before their
 * last blank; 0 if they have none. */
ZK_API int32_t ZK_CALL zk_Str_findClosestWordBoundary(const char *string, int32_t n);
/* The n-th token (from 0) between any of the delimiter characters, characters of the code page;
 * runs of delimiters count as one. getRightNthToken counts from the right end, where 0 is the last.
 * `*offset` (may be null) becomes the token's byte offset in `string`. Static, a buffer for each of
 * the two. Null, and offset -1, when there is no such token or the string exceeds 512 characters.
 */
ZK_API const char *ZK_CALL zk_Str_getNthToken(const char *string, const char *delimiters, int32_t n,
                                              int32_t *offset);
ZK_API const char *ZK_CALL zk_Str_getRightNthToken(const char *string, const char *delimiters,
                                                   int32_t n, int32_t *offset);
/* The byte offset of the first occurrence of `substring` (0 for an empty one), ignoring case if the
 * flag is not 0; -1 when there is none or for null. */
ZK_API int32_t ZK_CALL zk_Str_index(const char *string, const char *substring, int ignoreCase);

/* ---- Substitution: a keyword stands between two copies of a delimiter text, as in "%NAME%" ----
 */

/* The text between the first delimiter and the next one, cut to 263 characters; static. Null when
 * there are no two delimiters. Characters of the code page, as in the next two. */
ZK_API const char *ZK_CALL zk_Str_locateKeyword(const char *string, const char *delimiter);
/* A copy in which the first delimiter + keyword + delimiter is replaced by `value`,
 * case-sensitively; unchanged when it does not occur or is empty. To be released with zk_Free. Null
 * if an argument is null or memory is refused. */
ZK_API char *ZK_CALL zk_Str_replaceKeywordDynamic(const char *string, const char *keyword,
                                                  const char *delimiter, const char *value);
/* The same in place, the result cut to `maxLength` characters; the buffer holds maxLength + 1
 * bytes. Null, and the string as it was, if an argument is null or memory is refused. */
ZK_API char *ZK_CALL zk_Str_replaceKeyword(char *string, const char *keyword, const char *delimiter,
                                           const char *value, int32_t maxLength);
/* The string with every `from` replaced by `to` (null: nothing), left to right, inserted text not
 * searched again; cut to 511 characters; static. An empty or null `from` replaces nothing; a null
 * string gives "". */
ZK_API const char *ZK_CALL zk_Str_replaceChar(const char *string, const char *from, const char *to);

/* ---- Matching and comparing ---- */

/* Whether the string matches the pattern; matchWildcardi ignores case. "?" matches any one
 * character and once, as the pattern's last character (stars apart), also the end of the string:
 * "abc?" matches "abc". "*" goes on behind the first occurrence of the character that follows it in
 * the pattern, and is never tried again at a later one: "*ab" does not match "aab". The character
 * behind "*" stands for itself, even "?". */
ZK_API int ZK_CALL zk_Str_matchWildcard(const char *string, const char *pattern);
ZK_API int ZK_CALL zk_Str_matchWildcardi(const char *string, const char *pattern);
/* Whether the string, ignoring case, is 1, TRUE, YES or ON; 0, FALSE, NO or OFF. */
ZK_API int ZK_CALL zk_Str_isAffirmative(const char *string);
ZK_API int ZK_CALL zk_Str_isNegative(const char *string);
/* Compares versions part by part as numbers: -1, 0 or 1. Parts stand between dots; one that b lacks
 * counts as 0; those that only b has are not looked at, so "1.2" equals "1.2.1", but "1.2.1" is
 * greater than "1.2". Null is less than any text. */
ZK_API int ZK_CALL zk_Str_compareVersion(const char *a, const char *b);

/* ---- Wrapping ---- */

/* The text in lines of at most `width` characters, as a string list for the caller to destroy, its
 * cursor at end of list. While more than `width` characters are left, one blank at the front is
 * dropped and a line is cut before the last blank that lets it fit, or in the middle of a longer
 * word; what is left is the last line. Other blanks stay. A width below 1 gives one line. Null for
 * a null text or when memory is refused. */
ZK_API StrList *ZK_CALL zk_Str_wrapText(const char *text, int32_t width);

ZK_EXTERN_C_END
#endif
