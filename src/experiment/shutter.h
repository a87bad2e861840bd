// The shutter on the I/O interface's shutter pin (HW().ShutterPin), driven by
// the level of the shutter record (HW().ShutterControl.OpenLevel): non-zero,
// output high opens the shutter; 0, output low does.
#pragma once

namespace sv {

// Write the shutter pin; nothing without a ready I/O interface.
void ShutterOpen();
void ShutterClose();
// The pin's output state read back and compared with the open level; false
// without a ready I/O interface or when the read fails.
bool ShutterIsOpen();

// Puts the closing of the shutter into the exit sequence after the grabber
// and before the I/O goes (ExitSteps().shutterAndTrigger). A step already
// there from elsewhere runs after it. May be called more than once.
void InstallShutter();

}  // namespace sv
