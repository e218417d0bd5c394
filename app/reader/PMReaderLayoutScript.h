#pragma once
// The reader's other page layouts, beside the columns of the page script
// (PMReaderPageScript.h). It defines PMReaderLayouts in the page, a layout
// by its "mode" in the page script's target's "layout" member:
//   {"mode": "scrolled"}  the chapter in one column that scrolls down, a
//       page being a screen's height; a scroll tells the reader where it stands;
//   {"mode": "fixed", "width": w, "height": h, "backdrop": "#rrggbb",
//    "facing": {"uri": u, "width": w, "height": h, "left": true}}
//       a page of a fixed size scaled to fit the view, centred on the
//       backdrop; with "facing", beside the spread's other page, which
//       lies on the left or the right.
#include <string>

typedef struct _WebKitWebView WebKitWebView;

// Installs the layouts; before the page script.
void PMInstallReaderLayoutScript(WebKitWebView* view);
