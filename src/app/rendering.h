// Which drawing interface the program uses.
#pragma once

// Sets the default surface format (OpenGL 3.3 core, no waiting for the screen) and tries it. False,
// after a log line and a message box, when the machine has no such thing. The property
// `renderingapi` may ask for DirectX; on systems without it that means OpenGL. After the application
// object, before the first window.
[[nodiscard]] bool chooseRendering();
