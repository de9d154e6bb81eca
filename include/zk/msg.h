/* Message catalogue: the user's language for English texts, layouts, escapes, batches, word lists,
 * message tables.
 *
 * A text is translated by the application component's translator (zk_component.h), from the English
 * text and a message id: "TOOL_" and a number for the library's own texts, "DBCols" for column
 * captions, "SEP" for the list separator, or an application's own key.
 *
 * Whether texts are translated is decided once a process, by the first text: when the variable
 * "LANGUAGE" of the group "GENERAL" in "zk.ini" is missing or begins with "ENG" (in any case), and
 * "LANGUAGE_DEBUG" is missing or "0", every text is answered in English and the translator is never
 * made. A translator that cannot be made is told of in one message box, and English is used from
 * then on. Settings changed later have no effect. While the translator works, texts that it asks
 * for itself are answered in English.
 *
 * Translations are used as the translator gives them. English answers go through the escapes and
 * the layout code below.
 *
 * Internal layout codes (zk_Msg_setFormat makes them of the public codes 1 to 7):
 *   1 the text alone     2 "text "       3 "\ntext"     4 "\ntext "
 *   5 "text\n"           6 "text \n"     7 "\ntext\n"   8 "\ntext \n"
 * and any other code is as 1.
 *
 * Static results hold at most ZK_MSG_LENGTH characters, the rest is cut.
 */
#ifndef ZK_MSG_H
#define ZK_MSG_H

#include "zk/lnklist.h"
#include "zk/types.h"

ZK_EXTERN_C_BEGIN

#define ZK_MSG_LENGTH 4096
#define ZK_MSG_KEY_LENGTH 16

/* ---- Single texts -----------------------------------------------------------------------------
 */

/* The text in the user's language, laid out by an internal layout code; the translator is handed
 * the code less 1 (0 for 0). Null texts and ids count as "". Static. */
ZK_API const char *ZK_CALL zk_Msg(const char *text, const char *messageId, int32_t format);

/* zk_Msg with the id "DBCols", for the captions of table columns. Static, the buffer of zk_Msg. */
ZK_API const char *ZK_CALL zk_MsgDBCols(const char *text, int32_t format);

/* The result of zk_Msg, with blanks appended up to `width` characters (nothing for a width below
 * 1). Static, a buffer of its own. */
ZK_API const char *ZK_CALL zk_Msg_pad(const char *text, const char *messageId, int32_t format,
                                      int32_t width);

/* Escapes expanded, then laid out by an internal code; nothing is translated. Static. */
ZK_API const char *ZK_CALL zk_Msg_format(const char *text, int32_t code);

/* The internal layout code of a public one: 1 to 7 give 2 to 8, anything else 1. */
ZK_API int32_t ZK_CALL zk_Msg_setFormat(int32_t publicCode);

/* Expands backslash escapes in place: \" \' \\ give the second character, \a \f \n \r \t their
 * control characters, \b nothing at all, a backslash before anything else vanishes with that
 * character. A backslash and up to three decimal digits give a byte: an accumulator is rotated left
 * by three bits (of 32) and the digit added, for each digit, and its low byte is the result; it is
 * 0 at the start of the text only, so that a short number carries bits of the one before ("\101" is
 * "A", then "\7" is byte 15). The text never grows. The text, null for null. */
ZK_API char *ZK_CALL zk_Msg_scanEsc(char *text);

/* Splits a text at blanks and underscores into its first two words (at most 511 characters each),
 * white space removed. 1; 0 without two words, or for a null argument: `first` is then whatever
 * word there is, `second` is "". */
ZK_API int ZK_CALL zk_Msg_breakStr(const char *text, char *first, char *second);

/* ---- Batches ----------------------------------------------------------------------------------
 */

/* One text of a batch. Key and message id are cut at ZK_MSG_KEY_LENGTH characters. */
typedef struct MsgNode {
  char key[ZK_MSG_KEY_LENGTH + 1]; /* by which the caller finds the text again */
  char *text;                      /* owned: English, after translation the result */
  char messageId[ZK_MSG_KEY_LENGTH + 1];
  int32_t format;   /* internal layout code */
  int32_t padWidth; /* translations are padded to this width when it is above 0 */
} MsgNode;
typedef LnkList MsgList; /* its elements are MsgNode */

/* One entry of an array for zk_Msg_mltReadArray. */
typedef struct ZkMsgEntry {
  const char *key; /* null ends the array */
  const char *text;
  const char *messageId;
  int32_t format;
} ZkMsgEntry;

/* A node with copies of the texts (null counts as ""); null when memory is refused. Appended to a
 * list, it is released by zk_MsgList_destroy; alone, its text and then itself by zk_Free. */
ZK_API MsgNode *ZK_CALL zk_MsgNode_create(const char *key, const char *text, const char *messageId,
                                          int32_t format, int32_t padWidth);

/* A translated list of (key, text, message id, int format) groups, ended by a null key, a pointer:
 * `(char *)0`. Null when memory is refused; an empty list without groups. */
ZK_API MsgList *ZK_CALL zk_Msg_mlt(const char *key, ...);
/* The same from an array; null for a null array. */
ZK_API MsgList *ZK_CALL zk_Msg_mltReadArray(const ZkMsgEntry *entries);

/* Translates every node whose text and message id are not empty, in place. A result that begins
 * with "^" leaves the English text. 1; 0 for null, or when memory was refused for some node, which
 * keeps its text. */
ZK_API int ZK_CALL zk_Msg_multiple(MsgList *list);

/* The text of the first node with that key (case counts), else the key itself; "" for a null key.
 * Static. Linear in the list. */
ZK_API const char *ZK_CALL zk_Msg_find(const MsgList *list, const char *key);

/* Releases texts, nodes and list. 1, or 0 for null. */
ZK_API int ZK_CALL zk_MsgList_destroy(MsgList *list);

/* ---- Word lists: English words and their translations, pair by pair ---------------------------
 */

typedef struct MsgKeyWordListNode {
  char *word;        /* owned, English */
  char *translation; /* owned */
} MsgKeyWordListNode;
typedef LnkList MsgKeyWordList; /* its elements are MsgKeyWordListNode */

/* An empty list; null when memory is refused. */
ZK_API MsgKeyWordList *ZK_CALL zk_MsgKeyWordList_create(void);
/* 1, or 0 for null. */
ZK_API int ZK_CALL zk_MsgKeyWordList_destroy(MsgKeyWordList *list);

/* A pair with copies of both texts; null when one is null or memory is refused. */
ZK_API MsgKeyWordListNode *ZK_CALL zk_MsgKeyWordListNode_create(const char *word,
                                                                const char *translation);
/* 1, or 0 for null. */
ZK_API int ZK_CALL zk_MsgKeyWordListNode_destroy(MsgKeyWordListNode *node);

/* Appends a pair. 1; 0, and nothing done, for a null argument or refused memory. */
ZK_API int ZK_CALL zk_MsgKeyWordList_append(MsgKeyWordList *list, const char *word,
                                            const char *translation);

/* The translation of the first pair with that word, in any case, else the word itself; "" for a
 * null word. Static. Linear in the list. */
ZK_API const char *ZK_CALL zk_MsgKeyWordList_find(const MsgKeyWordList *list, const char *word);

/* Translates a comma-separated list of English words as one text and pairs the n-th word with the
 * n-th of the translation, white space around both removed. The translation is split at commas; or,
 * when "LANGUAGE" of "GENERAL" is set and the file SEP_<language>.dbf exists in the directory
 * "Language" under the network directory, at the translation of "," (id "SEP"). "LANG_LOCALE" of
 * "GENERAL", when set, becomes the process's locale first. An empty list when a translation of
 * several words does not contain the separator; null for null arguments, without a pair, or when
 * memory is refused. The list is the caller's. */
ZK_API MsgKeyWordList *ZK_CALL zk_Msg_getKeyWordList(const char *words, const char *messageId);

/* ---- Message tables ---------------------------------------------------------------------------
 *
 * A table <prefix>_<language>.dbf with the character fields MSG_NO (a number as text, the key) and
 * MSG_NAME (the text), and an index of the same name on MSG_NO. */

/* Opens the message table in the directory "language" under the network directory; failing that, in
 * the temporary, the local and the network directory, in this order. An index that does not exist
 * is created (unique). 1 with a table id and a tag id; 0 with both -1. Null arguments: 0. */
ZK_API int ZK_CALL zk_Msg_openDb(const char *prefix, const char *language, int32_t *table,
                                 int32_t *index);

/* The text with that number (itself a text), trailing blanks removed; null when there is none.
 * Static. A seek and a read. */
ZK_API const char *ZK_CALL zk_Msg_getVal(int32_t table, int32_t index, const char *number);

/* zk_Db_closeDb. */
ZK_API int ZK_CALL zk_Msg_closeDb(int32_t table);

ZK_EXTERN_C_END
#endif
