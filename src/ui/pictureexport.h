// "Export Picture...": the view as a PNG file.
#pragma once

class MainWindow;

// Asks for size, rulers and a name, draws the picture and writes it in place of what stands under the name.
// A failure is told, and leaves the old file. Does nothing without a project, or while a command is in work.
void exportPicture(MainWindow& window);
