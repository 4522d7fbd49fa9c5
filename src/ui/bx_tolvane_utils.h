// Labels out of text: converters from String to XmString and XmStringTable that understand a small compound string
// language, and `CONVERT`, which turns a label literal into a resource value.
//
// A text that begins with two colons is a row of segments, each an optional `#tag`, optional flags (`:t` puts a line
// break behind the text, `:r` writes it right to left) and a text in double quotes: `:::t"Save Fax""(don't send)"`.
// Any other text is plain, with a newline as line break.
#pragma once

#include <Xm/Xm.h>

namespace tolvane {

/// Registers both converters with an application context, in place of the toolkit's own. Called once, before any widget
/// exists.
void RegisterBxConverters(XtAppContext app);

/// Xt converter from `XmRString` to `XmRXmString`. A `to` without address gets one that is good until the next
/// conversion; a `to` too small gets the size needed, a warning and False.
Boolean CvtStringToXmString(Display *display, XrmValue *args, Cardinal *num_args, XrmValue *from, XrmValue *to,
                            XtPointer *converter_data);

/// Xt converter from `XmRString` to `XmRXmStringTable`: entries end at a comma or newline that stands outside double
/// quotes and has no backslash in front. Each may be plain or compound. Else as `CvtStringToXmString`.
Boolean CvtStringToXmStringTable(Display *display, XrmValue *args, Cardinal *num_args, XrmValue *from, XrmValue *to,
                                 XtPointer *converter_data);

/// Xt destructor: frees the string at `to->addr`.
void XmStringCvtDestroy(XtAppContext app, XrmValue *to, XtPointer converter_data, XrmValue *args, Cardinal *num_args);

/// Xt destructor: frees each string of the table at `to->addr` and the table.
void XmStringTableCvtDestroy(XtAppContext app, XrmValue *to, XtPointer converter_data, XrmValue *args,
                             Cardinal *num_args);

/// @param text  the language text, without its two leading colons
/// @return the compound string, the caller's to free with `XmStringFree`; null for a null `text`
XmString StringToXmString(const char *text);

/// Converts a text into a resource value, as `XtConvertAndStore` does it for the widget `w`.
///
/// @param to_type  the resource type, as `XmRXmString`
/// @param to_size  bytes of the value: 1, 2, 4 or a word; 0 is a word for a compound string or a table, else the length
///                 of `from_string`. A type of another size is converted all the same, into a block of its own.
/// @param success  becomes non-zero if the value is good
/// @return the value, widened to a word; for a value longer than a word the address of a block to `XtFree`
XtArgVal CONVERT(Widget w, const char *from_string, const char *to_type, int to_size, Boolean *success);

}  // namespace tolvane
