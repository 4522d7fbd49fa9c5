// Storage of the shared state of the application, documented in the header. The start-up sets it: read it only
// afterwards.

#include "app/app_state.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|app_state|9|01|2|0|0|11/23/26|04:51:49";
}

XtAppContext tn_context;
char Printer_name[NAME_SIZE];
char Server_name[NAME_SIZE];

}  // namespace tolvane
