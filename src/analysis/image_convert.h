// Convert (the image menu): an image into a worksheet of its samples.
#pragma once

namespace sv {

class Form_Camera;
class Form_Worksheet;
class MDIForm_Main;

// A new matrix sheet (IsMatrix) of the main window with one row for each
// image line, top line first, and one column for each pixel column, named
// "1", "2", ...; each cell holds the sample as a float, the grey of the
// pixel (0.299 R + 0.587 G + 0.114 B) for a colour image. An image with more
// lines or columns than a sheet holds is refused with a message titled
// "Convert to Worksheet"; nullptr then, or without pixels.
Form_Worksheet* ConvertImageToWorksheet(Form_Camera& image, MDIForm_Main& main);

// Offers Convert on every image of the main window's image menu.
void RegisterImageConvert();

}  // namespace sv
