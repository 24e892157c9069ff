#pragma once

// The installer logic must run and be tested without a display: it may use QtCore only.
#if defined(QT_GUI_LIB) || defined(QT_WIDGETS_LIB)
#error "src/core is built against QtCore only; move GUI code to src/app"
#endif
