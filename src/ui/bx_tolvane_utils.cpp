// The label language: from the text of a resource to segments, and from segments to a compound string. The labels of
// the window are in bx_tolvane_create_gui. Separators are searched for in wide characters, so that no byte of a
// multibyte character is taken for one.
#include "ui/bx_tolvane_utils.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <string>
#include <vector>

#include "support/handle.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|bx_tolvane_utils|9|01|2|0|0|11/23/26|06:29:09";

// Text and tag of the current segment. They only grow, and are reused for every segment.
std::vector<char> textBuf, tagBuf;

XmString resStr;          // the last result of CvtStringToXmString
XmStringTable CStrTable;  // the last result of CvtStringToXmStringTable

// A stretch of the text being scanned; none if its length is 0.
struct Stretch {
  const wchar_t *start = nullptr;
  size_t length = 0;
};

struct Segment {
  Stretch tag, text;
  XmStringDirection direction = XmSTRING_DIRECTION_L_TO_R;
  bool separator = false;
};

// A byte that starts no character of the locale is represented by a lone low surrogate, which is no character, and
// converted back to that byte: a label in another encoding than that of the locale is shown as well as the font allows.
constexpr wchar_t STRAY_BYTE = 0xdc00;

std::wstring doMbstowcs(const char *text) {
  std::wstring wide;
  size_t left = strlen(text);
  wide.reserve(left);
  std::mbstate_t state{};
  while (left > 0) {
    wchar_t character;
    size_t size = mbrtowc(&character, text, left, &state);
    if (size > left) {
      character = STRAY_BYTE | static_cast<unsigned char>(*text);
      size = 1;
      state = {};
    }
    wide.push_back(character);
    text += size;
    left -= size;
  }
  return wide;
}

// Converts a stretch into `destination`, which grows as needed, and terminates it with a zero byte.
void copyWcsToMbs(std::vector<char> &destination, Stretch source) {
  const size_t room = MB_LEN_MAX * (source.length + 1);
  if (destination.size() < room) destination.resize(room);
  char *to = destination.data();
  std::mbstate_t state{};
  for (size_t i = 0; i < source.length; i++) {
    const size_t size = wcrtomb(to, source.start[i], &state);
    if (size != static_cast<size_t>(-1)) {
      to += size;
    } else {
      *to++ = static_cast<char>(source.start[i]);
      state = {};
    }
  }
  [[maybe_unused]] const size_t closed = wcrtomb(to, L'\0', &state);
}

bool is_separator(wchar_t c) {
  return c == L'"' || c == L'#' || c == L':';
}

// The first separator at or after `position`, or the terminator. A backslash hides the character after it.
const wchar_t *getNextSeparator(const wchar_t *position) {
  for (; *position != L'\0' && !is_separator(*position); position++) {
    if (*position == L'\\' && position[1] != L'\0') position++;
  }
  return position;
}

// Reads the text item whose opening quote is at `cursor`.
// @return the position after its closing quote, or the terminator
const wchar_t *read_text(const wchar_t *cursor, Stretch &text) {
  text.start = cursor + 1;
  const wchar_t *end = getNextSeparator(text.start);
  while (*end == L'#' || *end == L':') end = getNextSeparator(end + 1);
  text.length = static_cast<size_t>(end - text.start);
  return *end == L'"' ? end + 1 : end;
}

// Reads a direction letter at `cursor`. @return whether there was one
bool read_direction(const wchar_t *cursor, XmStringDirection &direction) {
  const wint_t letter = towlower(static_cast<wint_t>(*cursor));
  if (letter != L'r' && letter != L'l') return false;
  direction = letter == L'r' ? XmSTRING_DIRECTION_R_TO_L : XmSTRING_DIRECTION_L_TO_R;
  return true;
}

// Reads the flags after the colon at `cursor`: a direction, or a separator flag that a direction may follow (`t:r`).
// @return the position after them
const wchar_t *read_flags(const wchar_t *cursor, Segment &segment) {
  cursor++;
  if (read_direction(cursor, segment.direction)) return cursor + 1;
  const wint_t letter = towlower(static_cast<wint_t>(*cursor));
  const bool on = letter == L't' || letter == L'1';
  const bool off = letter == L'f' || letter == L'0';
  if (!on && !off) return cursor;
  segment.separator = on;
  cursor++;
  return *cursor == L':' && read_direction(cursor + 1, segment.direction) ? cursor + 2 : cursor;
}

// Reads one segment and moves the cursor past it.
// @return whether any text is left
bool extractSegment(const wchar_t *&cursor, Segment &segment) {
  segment = {};
  if (!is_separator(*cursor)) {
    segment.text = {cursor, wcslen(cursor)};
    cursor += segment.text.length;
    return false;
  }
  bool tag_seen = false, flags_seen = false, ended = false;
  while (!ended) {
    switch (*cursor) {
      case L'"':
        cursor = read_text(cursor, segment.text);
        ended = true;
        break;
      case L'#':
        ended = tag_seen;  // a second one belongs to the next segment, and so does a second colon
        if (ended) break;
        tag_seen = true;
        segment.tag.start = cursor + 1;
        cursor = getNextSeparator(segment.tag.start);
        segment.tag.length = static_cast<size_t>(cursor - segment.tag.start);
        break;
      case L':':
        ended = flags_seen;
        if (ended) break;
        flags_seen = true;
        cursor = read_flags(cursor, segment);
        break;
      case L'\0':
        ended = true;
        break;
      default:
        cursor++;
        break;
    }
  }
  return *cursor != L'\0';
}

void append(XmString &string, XmString part) {
  XmString joined = XmStringConcat(string, part);
  XmStringFree(string);
  XmStringFree(part);
  string = joined;
}

// The end of the first entry of a table text, or null if the text is one entry.
const char *getNextCStrDelim(const char *text) {
  if (!text) return nullptr;
  std::mbstate_t state{};
  // An invalid sequence counts as one byte, so that the scan moves on.
  const auto step = [&state](const char *at) {
    const size_t size = mbrlen(at, strnlen(at, MB_LEN_MAX), &state);
    if (size != 0 && size <= MB_LEN_MAX) return size;
    state = {};
    return size_t{*at != '\0'};
  };
  bool quoted = false;
  while (*text) {
    const size_t size = step(text);
    if (size == 1 && *text == '\\') {
      text++;
      text += step(text);
      continue;
    }
    if (!quoted && (*text == ',' || *text == '\n')) return text;
    if (*text == '"') quoted = !quoted;
    text += size;
  }
  return nullptr;
}

// Number of entries of a table text; a trailing delimiter is followed by an empty one.
size_t getCStrCount(const char *text) {
  if (!text || !*text) return 0;
  size_t count = 1;
  while ((text = getNextCStrDelim(text))) {
    text++;
    count++;
  }
  return count;
}

void free_table(XmStringTable table) {
  for (XmStringTable entry = table; *entry; entry++) XmStringFree(*entry);
  free(table);
}

// Stores the result of a converter at the address of `to`, or sets that address to the result if there is none.
// @return False, with the size needed in `to`, if `to` is too small; the caller then frees the result
template <typename Value>
Boolean deliver(Display *display, const XrmValue *from, XrmValue *to, Value &value, const char *type) {
  const bool fits = !to->addr || to->size >= sizeof value;
  to->size = sizeof value;
  if (!fits) {
    XtDisplayStringConversionWarning(display, from->addr, type);
    return False;
  }
  if (to->addr) {
    memcpy(to->addr, &value, sizeof value);
  } else {
    to->addr = reinterpret_cast<XPointer>(&value);
  }
  return True;
}

template <typename Narrow>
XtArgVal head_of(XtArgVal word) {
  Narrow value;
  memcpy(&value, &word, sizeof value);
  return value;
}

// The value that a converter has stored in the first `size` bytes of `word`, whatever the byte order.
XtArgVal widened(XtArgVal word, unsigned size) {
  switch (size) {
    case 1:
      return head_of<uint8_t>(word);
    case 2:
      return head_of<uint16_t>(word);
    case 4:
      return head_of<uint32_t>(word);
    default:
      return word;
  }
}

void warn_of_arguments(Display *display, const Cardinal *num_args, const char *name, const char *message) {
  if (*num_args == 0) return;
  XtAppWarningMsg(XtDisplayToApplicationContext(display), name, "wrongParameters", "XtToolkitError", message, nullptr,
                  nullptr);
}

}  // namespace

void RegisterBxConverters(XtAppContext app) {
  // The toolkit registers its own converters with its first class; ours must come after them.
  XtInitializeWidgetClass(xmPrimitiveWidgetClass);
  XtAppSetTypeConverter(app, XmRString, XmRXmString, CvtStringToXmString, nullptr, 0, XtCacheNone, XmStringCvtDestroy);
  XtAppSetTypeConverter(app, XmRString, XmRXmStringTable, CvtStringToXmStringTable, nullptr, 0, XtCacheNone,
                        XmStringTableCvtDestroy);
}

XmString StringToXmString(const char *text) {
  if (!text) return nullptr;
  const std::wstring wide = doMbstowcs(text);
  XmStringDirection direction = XmSTRING_DIRECTION_L_TO_R;
  XmString string = XmStringDirectionCreate(direction);
  const wchar_t *cursor = wide.c_str();
  Segment segment;
  bool more = true;
  while (more) {
    more = extractSegment(cursor, segment);
    if (segment.direction != direction) {
      direction = segment.direction;
      append(string, XmStringDirectionCreate(direction));
    }
    if (segment.text.length > 0) {
      copyWcsToMbs(textBuf, segment.text);
      copyWcsToMbs(tagBuf, segment.tag);  // without a tag the empty string, XmSTRING_DEFAULT_CHARSET
      append(string, XmStringCreate(textBuf.data(), tagBuf.data()));
    }
    if (segment.separator) append(string, XmStringSeparatorCreate());
  }
  return string;
}

Boolean CvtStringToXmString(Display *display, XrmValue *, Cardinal *num_args, XrmValue *from, XrmValue *to,
                            XtPointer *) {
  warn_of_arguments(display, num_args, "cvtStringToXmString", "String to XmString converter needs no extra arguments");
  char empty[] = "";
  char *text = from->addr ? from->addr : empty;
  resStr =
      strncmp(text, "::", 2) == 0 ? StringToXmString(text + 2) : XmStringCreateLtoR(text, XmSTRING_DEFAULT_CHARSET);
  if (deliver(display, from, to, resStr, "XmString")) return True;
  XmStringFree(resStr);
  resStr = nullptr;
  return False;
}

Boolean CvtStringToXmStringTable(Display *display, XrmValue *, Cardinal *num_args, XrmValue *from, XrmValue *to,
                                 XtPointer *) {
  warn_of_arguments(display, num_args, "cvtStringToXmStringTable",
                    "String to XmStringTable converter needs no extra arguments");
  const char *source = from->addr ? from->addr : "";
  const size_t count = getCStrCount(source);
  CStrTable = static_cast<XmStringTable>(calloc(count + 1, sizeof(XmString)));
  if (!CStrTable) return False;
  for (size_t i = 0; i < count; i++) {
    const char *delimiter = getNextCStrDelim(source);
    std::string piece = delimiter ? std::string(source, delimiter) : source;
    source = delimiter ? delimiter + 1 : nullptr;
    XrmValue piece_from{static_cast<unsigned>(piece.size() + 1), piece.data()};
    XrmValue entry{sizeof(XmString), reinterpret_cast<XPointer>(&CStrTable[i])};
    Cardinal no_arguments = 0;
    CvtStringToXmString(display, nullptr, &no_arguments, &piece_from, &entry, nullptr);
  }
  if (deliver(display, from, to, CStrTable, "XmStringTable")) return True;
  free_table(CStrTable);
  CStrTable = nullptr;
  return False;
}

void XmStringCvtDestroy(XtAppContext, XrmValue *to, XtPointer, XrmValue *, Cardinal *) {
  XmStringFree(*reinterpret_cast<XmString *>(to->addr));
}

void XmStringTableCvtDestroy(XtAppContext, XrmValue *to, XtPointer, XrmValue *, Cardinal *) {
  free_table(*reinterpret_cast<XmStringTable *>(to->addr));
}

XtArgVal CONVERT(Widget w, const char *from_string, const char *to_type, int to_size, Boolean *success) {
  *success = False;
  if (to_size == 0) {
    const bool compound = strcmp(to_type, XmRXmString) == 0 || strcmp(to_type, XmRXmStringTable) == 0;
    to_size = static_cast<int>(compound ? sizeof(XmString) : strlen(from_string));
  }
  XrmValue source{static_cast<unsigned>(strlen(from_string) + 1), const_cast<char *>(from_string)};
  XtArgVal word = 0;
  const unsigned room = to_size == 1 || to_size == 2 ? static_cast<unsigned>(to_size) : sizeof word;
  XrmValue target{room, reinterpret_cast<XPointer>(&word)};
  *success = XtConvertAndStore(w, XmRString, &source, to_type, &target);
  if (*success) return widened(word, target.size);
  if (target.size == room) return 0;
  // The converter asked for another size.
  Block<char> extra(XtMalloc(target.size));
  target.addr = extra.get();
  *success = XtConvertAndStore(w, XmRString, &source, to_type, &target);
  return *success ? reinterpret_cast<XtArgVal>(extra.release()) : 0;
}

}  // namespace tolvane
