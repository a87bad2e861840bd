// The operations of the image menu on a Form_Camera: morphology, edge,
// negative, flips, quarter turns, fields, depth, resize, grey and colour,
// the colour split, the colour count and the copy. Each chooses the kernel
// routine, registers its undo entry first and marks the image changed; the
// pixel loops are the kernel's.
//
// The kernel runs the same-size operations on the image itself. Those whose
// result has another shape (turns, fields, resize, grey and colour) and the
// mirror take a work buffer of the result's size, which then becomes the
// image's pixels; without the memory for it they show error 10004, titled
// with the operation's name, and leave the image as it was (no undo entry
// either). The pixels a result replaced, up to 32 MB, are kept as the next
// operation's work buffer.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace sv {

class Form_Camera;
class Form_Resize;
class MDIForm_Main;

// Each returns true when it ran; false when the image has no pixels, the
// operation does not apply to its kind (grey or colour) or an argument is out
// of range (nothing changed, nothing said), or when a work buffer was missing
// (10004 shown).

// `connectivity` 4 or 8; `MenuConnectivity` turns the menu's index (0, 1) into it.
bool Dilatation(Form_Camera& image, int connectivity);
bool Erosion(Form_Camera& image, int connectivity);
// Erosion then dilatation, and the reverse.
bool MorphOpen(Form_Camera& image, int connectivity);
bool MorphClose(Form_Camera& image, int connectivity);
int MenuConnectivity(int menuIndex);
bool Edge(Form_Camera& image);
bool Negative(Form_Camera& image);
bool Flip(Form_Camera& image);
bool Mirror(Form_Camera& image);
// 90 turns clockwise, 270 counter-clockwise; width and height change places.
bool Rotate(Form_Camera& image, int degrees);
// Field 1 or 2 of an interlaced frame: half the lines.
bool field(Form_Camera& image, int number);
// To 8 to 16 bits.
bool ChangeImageDynamikTo(Form_Camera& image, int bits);
bool ResizeImage(Form_Camera& image, long width, long height);
// Colour to grey, grey to colour.
bool GreyScale(Form_Camera& image);
bool TrueColor(Form_Camera& image);
// Three new grey images titled name + " (Red Channel)", " (Green Channel)",
// " (Blue Channel)"; empty when refused.
std::vector<Form_Camera*> SplitToRGB(Form_Camera& image, MDIForm_Main& main);
// The number of distinct colours (grey levels); shows "The number of unique
// colors in this picture is " + number. -1 when there are no pixels.
long ColorCount(Form_Camera& image);
// A new image with a copy of this one: "Copy of " + name, or "Copy(" + n +
// ") of " + name when that title is taken.
Form_Camera* Duplicate(Form_Camera& image, MDIForm_Main& main);
// The title Duplicate gives, against the titles of the open images.
std::string CopyTitle(const std::string& name, const std::vector<std::string>& titles);

// Resize through Form_Resize: the dialog (ResizeDialog) and, on OK,
// ResizeImage with its size. False when cancelled or refused.
bool Resize(Form_Camera& image);

// The status line's text while an operation runs ("Rotating..."), "" for none.
std::string OperationStatus(const std::string& operation);

// Work buffers larger than this many bytes count as missing (0: no limit
// beyond the image's own). For tests of the out-of-memory path.
size_t& WorkBufferLimit();

// Puts the operations into the image documents' menu table
// (ImageOperationTable), with the image kinds each is offered for.
void RegisterImageOperations();

}  // namespace sv
