// Labels out of text: converters from String to XmString and XmStringTable that understand a small compound string
// language, and `CONVERT`, which turns a label literal into a resource value.
//
// A text that begins with two colons is a row of segments, each an optional `#tag`, optional flags (`:t` puts a line
// break after the text, `:r` makes it run from right to left) and a text in double quotes, for example
// `:::t"Save Fax""(don't send)"`.
// Any other text is plain, with a newline as line break.
#pragma once

#include <Xm/Xm.h>

namespace tolvane {

/// Registers both converters with an application context, replacing the toolkit's own. Call once, before any widget
/// exists.
void RegisterBxConverters(XtAppContext app);

/// Xt converter from `XmRString` to `XmRXmString`. If `to` has no address, it receives one that is valid until the next
/// conversion. If `to` is too small, it receives the size needed, the toolkit prints a warning, and the result is
/// False.
Boolean CvtStringToXmString(Display *display, XrmValue *args, Cardinal *num_args, XrmValue *from, XrmValue *to,
                            XtPointer *converter_data);

/// Xt converter from `XmRString` to `XmRXmStringTable`. An entry ends at a comma or newline outside double quotes and
/// without a backslash before it; it may be plain or compound. In all else like `CvtStringToXmString`.
Boolean CvtStringToXmStringTable(Display *display, XrmValue *args, Cardinal *num_args, XrmValue *from, XrmValue *to,
                                 XtPointer *converter_data);

/// Xt destructor: frees the string at `to->addr`.
void XmStringCvtDestroy(XtAppContext app, XrmValue *to, XtPointer converter_data, XrmValue *args, Cardinal *num_args);

/// Xt destructor: frees each string of the table at `to->addr` and the table.
void XmStringTableCvtDestroy(XtAppContext app, XrmValue *to, XtPointer converter_data, XrmValue *args,
                             Cardinal *num_args);

/// @param text  the language text, without its two leading colons
/// @return the compound string, to be freed with `XmStringFree`; null for a null `text`
XmString StringToXmString(const char *text);

/// Converts a text into a resource value with `XtConvertAndStore`.
///
/// @param to_type  the resource type, such as `XmRXmString`
/// @param to_size  bytes of the value: 1, 2, 4 or a word; 0 is a word for a compound string or a table, else the length
///                 of `from_string`. A type of another size is converted into an allocated block
/// @param success  set to non-zero if the conversion succeeded
/// @return the value, widened to a word; for a value longer than a word, the address of a block to free with `XtFree`
XtArgVal CONVERT(Widget w, const char *from_string, const char *to_type, int to_size, Boolean *success);

}  // namespace tolvane
