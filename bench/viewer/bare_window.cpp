// The least that a Motif program can do: one empty white window, of the size and at the place of the viewer's.
#include <X11/Intrinsic.h>
#include <Xm/DrawingA.h>
#include <Xm/Xm.h>

int main(int argc, char **argv) {
  XtAppContext context;
  const Widget shell =
      XtVaAppInitialize(&context, "Bare", nullptr, 0, &argc, argv, nullptr, XmNx, 150, XmNy, 75, nullptr);
  XtVaCreateManagedWidget("area", xmDrawingAreaWidgetClass, shell, XmNwidth, 940, XmNheight, 717, XmNbackground,
                          WhitePixelOfScreen(XtScreen(shell)), nullptr);
  XtRealizeWidget(shell);
  XtAppMainLoop(context);
}
