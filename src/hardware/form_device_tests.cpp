#include "hardware/form_device_tests.h"

#include <algorithm>

#include "hardware/form_fields.h"
#include "hardware/hardware.h"
#include "image/kernel/numbers.h"

namespace sv {

namespace {

std::string CodeText(long code) { return "Error (Code # " + std::to_string(code) + ")"; }

// The two IO_pin calls differ only by a reference; named here.
long ReadPin(IOBackend& io, long pin, bool& level) {
  long (IOBackend::*read)(long, bool&) = &IOBackend::IO_pin;
  return (io.*read)(pin, level);
}
long WritePin(IOBackend& io, long pin, bool level) {
  long (IOBackend::*write)(long, bool) = &IOBackend::IO_pin;
  return (io.*write)(pin, level);
}

}  // namespace

// --- Form_TestAD ----------------------------------------------------------------

void Form_TestAD::Load() {
  Combo_ChannelList.clear();
  Label_Raw = Label_Voltage = Label_Status = "";
  ADBackend* ad = HW().AD.get();
  if (!ad) {
    Caption = "A/D Test";
    Label_Status = kNotAvailable;
    return;
  }
  std::string name;
  ad->AD_interface_name(name);
  Caption = "A/D Test: " + name;
  long count = 0;
  ad->AD_channels(count);
  for (long c = 0; c < count; ++c) {
    std::string ch;
    if (ad->AD_channel_name(c, ch) != 0 || ch.empty()) ch = "CH" + std::to_string(c + 1);
    Combo_ChannelList.push_back(ch);
  }
  if (Combo_Channel >= static_cast<int>(Combo_ChannelList.size())) Combo_Channel = 0;
}

void Form_TestAD::Command_Read() {
  ADBackend* ad = HW().AD.get();
  if (!ad || Combo_ChannelList.empty()) {
    Label_Status = kNotAvailable;
    return;
  }
  long raw = 0;
  float volts = 0;
  const long c1 = ad->AD_get(Combo_Channel, raw);
  const long c2 = ad->AD_get_voltage(Combo_Channel, volts);
  Label_Raw = c1 == 0 ? std::to_string(raw) : CodeText(c1);
  Label_Voltage = c2 == 0 ? FormatFixed(volts, 6) + " V" : CodeText(c2);
  Label_Status = c1 == 0 && c2 == 0 ? "OK" : "Error";
}

// --- Form_TestDA ----------------------------------------------------------------

void Form_TestDA::Load() {
  Combo_ChannelList.clear();
  Label_Status = "";
  DABackend* da = HW().DA.get();
  if (!da) {
    Caption = "D/A Test";
    Label_Status = kNotAvailable;
    return;
  }
  std::string name;
  da->DA_interface_name(name);
  Caption = "D/A Test: " + name;
  long count = 0;
  da->DA_channels(count);
  for (long c = 0; c < count; ++c) {
    std::string ch;
    if (da->DA_channel_name(c, ch) != 0 || ch.empty()) ch = "CH" + std::to_string(c + 1);
    Combo_ChannelList.push_back(ch);
  }
  if (Combo_Channel >= static_cast<int>(Combo_ChannelList.size())) Combo_Channel = 0;
}

void Form_TestDA::Command_SetVoltage() {
  DABackend* da = HW().DA.get();
  if (!da || Combo_ChannelList.empty()) {
    Label_Status = kNotAvailable;
    return;
  }
  double v = 0;
  if (!ParseFieldNumber(Text_Voltage, v)) {
    Label_Status = "Not a number: " + Text_Voltage;
    return;
  }
  const long code = da->DA_set_voltage(Combo_Channel, static_cast<float>(v));
  Label_Status = code == 0 ? Combo_ChannelList[Combo_Channel] + " = " + FormatFixed(v, 6) + " V"
                           : CodeText(code);
}

void Form_TestDA::Command_SetRaw() {
  DABackend* da = HW().DA.get();
  if (!da || Combo_ChannelList.empty()) {
    Label_Status = kNotAvailable;
    return;
  }
  double v = 0;
  if (!ParseFieldNumber(Text_Raw, v)) {
    Label_Status = "Not a number: " + Text_Raw;
    return;
  }
  const long raw = RoundEven(v);
  const long code = da->DA_set(Combo_Channel, raw);
  Label_Status = code == 0 ? Combo_ChannelList[Combo_Channel] + " = " + std::to_string(raw) + " (" +
                                 HexCode(raw) + ")"
                           : CodeText(code);
}

// --- Form_IO_Test ---------------------------------------------------------------

void Form_IO_Test::Load() {
  PinsIn = PinsOut = 0;
  Check_Out.clear();
  Label_In.clear();
  Label_Status = "";
  IOBackend* io = HW().IO.get();
  if (!io) {
    Caption = "I/O Test";
    Label_Status = kNotAvailable;
    return;
  }
  std::string name;
  io->IO_interface_name(name);
  Caption = "I/O Test: " + name;
  io->IO_pins_in(PinsIn);
  io->IO_pins_out(PinsOut);
  PinsIn = std::max(0L, std::min(PinsIn, 32L));
  PinsOut = std::max(0L, std::min(PinsOut, 32L));
  Check_Out.assign(PinsOut, false);
  for (long p = 0; p < PinsOut; ++p) {
    bool level = false;
    if (io->IO_PinOutStatus(p, level) == 0) Check_Out[p] = level;
  }
  Label_In.assign(PinsIn, "");
  Command_Read();
}

void Form_IO_Test::Check_Out_Click(int pin) {
  IOBackend* io = HW().IO.get();
  if (!io || pin < 0 || pin >= PinsOut) return;
  const bool level = Check_Out[pin];
  const long code = WritePin(*io, pin, level);
  Label_Status = code == 0 ? "Pin " + std::to_string(pin) + " = " + (level ? "1" : "0")
                           : CodeText(code);
}

void Form_IO_Test::Command_Read() {
  IOBackend* io = HW().IO.get();
  if (!io) {
    Label_Status = kNotAvailable;
    return;
  }
  for (long p = 0; p < PinsIn; ++p) {
    bool level = false;
    const long code = ReadPin(*io, p, level);
    Label_In[p] = code == 0 ? (level ? "1" : "0") : CodeText(code);
  }
}

}  // namespace sv
