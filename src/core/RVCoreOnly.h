#pragma once

// The installer logic must run and be tested without a display: src/core is built against
// QtCore only. (Programs that use it, the window among them, may of course link more.)
#if defined(RV_BUILDING_CORE) && (defined(QT_GUI_LIB) || defined(QT_WIDGETS_LIB))
#error "src/core is built against QtCore only; move GUI code to src/app"
#endif
