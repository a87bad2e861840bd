// The hand tests of the devices: Form_TestAD reads a channel, Form_TestDA
// sets a voltage or a raw code, Form_IO_Test writes output pins and reads
// input pins. Each talks to the device in its slot; an interface that is off
// shows "N/A" and does nothing.
#pragma once

#include <string>
#include <vector>

namespace sv {

inline constexpr const char* kNotAvailable = "N/A";

class Form_TestAD {
 public:
  void Load();
  std::string Caption;                   // the interface's name
  std::vector<std::string> Combo_ChannelList;
  int Combo_Channel = 0;
  std::string Label_Raw, Label_Voltage, Label_Status;
  // Reads the selected channel: raw code and averaged voltage.
  void Command_Read();
};

class Form_TestDA {
 public:
  void Load();
  std::string Caption;
  std::vector<std::string> Combo_ChannelList;
  int Combo_Channel = 0;
  std::string Text_Voltage = "0", Text_Raw = "0";
  std::string Label_Status;
  void Command_SetVoltage();
  void Command_SetRaw();
};

class Form_IO_Test {
 public:
  void Load();
  std::string Caption;
  long PinsIn = 0, PinsOut = 0;
  std::vector<bool> Check_Out;          // one per output pin, as last written
  std::vector<std::string> Label_In;    // "1", "0", or "Error " + code
  std::string Label_Status;
  // Writes an output pin from its check box.
  void Check_Out_Click(int pin);
  // Reads every input pin.
  void Command_Read();
};

}  // namespace sv
