// List helpers. One item is selected at a time unless the list has the policy of multiple selection, so that selecting
// several switches the policy for that time.
#include "ui/motif_lists.h"

#include <cstring>
#include <utility>

#include "support/handle.h"
#include "support/strlib.h"
#include "ui/motif_values.h"

#include <Xm/List.h>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|motif_lists|9|01|2|0|0|11/23/26|06:29:09";

char item_str[1000];

// The selected positions of a list, in ascending order.
struct Selection {
  std::unique_ptr<int, XtDeleter> positions;
  int count = 0;
};

Selection selection_of(Widget list) {
  int *positions = nullptr;
  int count = 0;
  if (!XmListGetSelectedPos(list, &positions, &count)) return {};
  return {std::unique_ptr<int, XtDeleter>(positions), count};
}

Selection saved;

// The text of an item; null if it has none under the default tag.
XtText item_text(XmString item) {
  char *text = nullptr;
  if (!XmStringGetLtoR(item, XmFONTLIST_DEFAULT_TAG, &text)) return {};
  return XtText(text);
}

// Selects positions one by one without a callback. Only under this policy does one selection leave the others alone.
template <typename Position>
void select_several(Widget list, int count, Position position) {
  const auto policy = resource<unsigned char>(list, XmNselectionPolicy);
  XtVaSetValues(list, XmNselectionPolicy, XmMULTIPLE_SELECT, nullptr);
  for (int i = 0; i < count; i++) XmListSelectPos(list, position(i), False);
  XtVaSetValues(list, XmNselectionPolicy, policy, nullptr);
}

}  // namespace

void add_item_to_list(Widget list, const char *text) {
  const CompoundString item(text);
  XmListAddItem(list, item.get(), 0);
}

char *get_list_item(Widget list, int pos) {
  if (pos < 1 || pos > get_list_numb_items(list)) return nullptr;
  const auto items = resource<XmStringTable>(list, XmNitems);
  if (!items) return nullptr;
  const XtText text = item_text(items[pos - 1]);
  if (!text) return nullptr;
  copy_text(item_str, sizeof item_str, text.get());
  return item_str;
}

int get_list_numb_items(Widget list) {
  return resource<int>(list, XmNitemCount);
}

int numb_selected_items(Widget list) {
  return selection_of(list).count;
}

void select_all_items(Widget list) {
  deselect_all_items(list);
  select_several(list, get_list_numb_items(list), [](int i) { return i + 1; });
}

void deselect_all_items(Widget list) {
  XmListDeselectAllItems(list);
}

void remove_all_items_from_list(Widget list) {
  XmListDeleteAllItems(list);
}

void select_list_position(Widget list, int pos, int notify) {
  const int last = get_list_numb_items(list);
  XmListSelectPos(list, pos > last ? last : pos, notify ? True : False);
}

int select_list_item(Widget list, const char *text, int notify) {
  const int count = get_list_numb_items(list);
  const auto items = resource<XmStringTable>(list, XmNitems);
  if (!items) return 0;
  for (int i = 0; i < count; i++) {
    const XtText item = item_text(items[i]);
    if (!item || strcmp(item.get(), text) != 0) continue;
    XmListSelectPos(list, i + 1, notify ? True : False);
    return i + 1;
  }
  return 0;
}

int get_list_top_item(Widget list) {
  return resource<int>(list, XmNtopItemPosition);
}

void set_list_top_item(Widget list, int pos) {
  XmListSetPos(list, pos > 0 ? pos : 1);
}

int get_first_selected_position(Widget list) {
  const Selection selection = selection_of(list);
  return selection.count > 0 ? *selection.positions : 0;
}

int get_selected_item(Widget list, char *buffer) {
  buffer[0] = '\0';
  const int position = get_first_selected_position(list);
  if (position == 0) return 0;
  const auto items = resource<XmStringTable>(list, XmNselectedItems);
  const XtText text = items ? item_text(items[0]) : XtText();
  if (text) strcpy(buffer, text.get());
  return position;
}

void save_selected_items(Widget list) {
  saved = selection_of(list);
}

void restore_selected_items(Widget list) {
  deselect_all_items(list);
  if (saved.count <= 0) return;
  const Selection selection = std::move(saved);
  saved = {};
  select_several(list, selection.count, [&](int i) { return selection.positions.get()[i]; });
}

}  // namespace tolvane
