// Owning handles for what the toolkit allocates, and reading one resource. Motif writes a resource in its own width
// (Dimension 2 bytes, a toggle's state 1): the type asked for must have that very width.
#pragma once

#include <memory>

#include <Xm/Xm.h>

namespace tolvane {

struct XtDeleter {
  void operator()(void *block) const { XtFree(static_cast<char *>(block)); }
};
/// A text that the toolkit allocated, released with `XtFree`.
using XtText = std::unique_ptr<char, XtDeleter>;

/// A compound string, released with the handle. A widget that is given one keeps a copy of its own.
class CompoundString {
 public:
  explicit CompoundString(XmString string) : string_(string) {}
  /// Plain text without line breaks.
  explicit CompoundString(const char *text) : string_(XmStringCreateSimple(const_cast<char *>(text))) {}
  ~CompoundString() { XmStringFree(string_); }
  CompoundString(const CompoundString &) = delete;
  CompoundString &operator=(const CompoundString &) = delete;
  XmString get() const { return string_; }

 private:
  XmString string_;
};

/// A resource of `w`; 0 if the widget has none of that name.
template <typename Value>
Value resource(Widget w, const char *name) {
  Value value{};
  XtVaGetValues(w, name, &value, nullptr);
  return value;
}

}  // namespace tolvane
