// Default resources besides the fallbacks: they hold with and without an app-defaults file, and those of the user
// override them.
#pragma once

#include <string>

#include <X11/Intrinsic.h>

namespace tolvane {

/// Adds resource lines to the database of the display, except those whose specifier it already contains.
///
/// @param scope  prefix of each line: a class limits the lines to shells of that class, "" does not
/// @param lines  each starts with "*"; terminated by a null entry
void merge_below_user_resources(Display *display, const char *scope, const char *const *lines);

/// A resource of the application itself, such as "showMessages" for *showMessages; empty if it is not set.
std::string application_resource(Display *display, const char *name);

/// The default colours as resource lines, terminated by a null entry.
extern const char *const default_colours[];

/// Adds the default colours, and a smaller font for each control whose text does not fit its place in the usual font,
/// as on displays whose fonts are made for 100 dots per inch.
/// @param scope  as for `merge_below_user_resources`
void add_default_looks(Display *display, const char *scope);

/// Frees the fonts that were measured for that. Until the widgets have loaded theirs, mostly the same ones, they stay
/// open, so that the server need not read them again.
void free_measured_fonts(Display *display);

}  // namespace tolvane
