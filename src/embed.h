// Everything of the viewer library for a parent program. The way in is `tn_open_view`, the rest of the interface is in
// tn_api_functions.h; the widgets and what the view shares lie open for a parent that wants more.
#pragma once

#include "app_state.h"
#include "bx_tolvane_utils.h"
#include "exit_tasks.h"
#include "motif_dialog.h"
#include "motif_lists.h"
#include "motif_tree.h"
#include "motif_utils.h"
#include "notice.h"
#include "open_view.h"
#include "pagescope.h"
#include "presentation.h"
#include "print_handoff.h"
#include "scales.h"
#include "scrolling.h"
#include "small_database.h"
#include "tn_api_functions.h"
#include "tolvane_cb.h"
#include "view_state.h"
#include "widgets.h"
