// Modbus TCP devices as A/D, D/A and I/O back-ends. Channel c of an
// operation (from 0) is channel c + 1 of the configuration, at
// Address + c x (registers a value takes); pin p is discrete input
// Address + p and coil CoilAddress + p.
#pragma once

#include <string>

#include "hardware/devices.h"
#include "hardware/modbus_link.h"

namespace sv {

class ModbusAD : public ADBackend {
 public:
  ModbusAD();                                     // reads "Modbus A/D" at AD_load
  explicit ModbusAD(const ModbusConfig& config);  // keeps this configuration

  long AD_channel_name(long channel, std::string& name) override;
  long AD_channels(long& count) override;
  long AD_dll_date(std::string& date) override;
  long AD_get(long channel, long& raw) override;
  long AD_get_voltage(long channel, float& volts) override;
  long AD_has_diff_input(bool& has) override;
  long AD_init(long base, bool& answers) override;
  long AD_load(const std::string& name, bool& loaded) override;
  long AD_input_mode(long mode) override;
  long AD_interface_name(std::string& name) override;
  long AD_Range(long index, float& low, float& high) override;
  long AD_Ranges(long& count) override;
  long AD_set_range(long index) override;
  long AD_set_averaging(long count) override;
  long AD_winrt_device(long& driver) override;
  std::string LastError() const override { return link_.LastError(); }

 private:
  long Read(long channel, double& value);

  ModbusLink link_;
  bool fixed_ = false;  // configured by the caller: AD_load keeps it
  long averaging_ = 1;
};

class ModbusDA : public DABackend {
 public:
  ModbusDA();  // reads "Modbus D/A" at DA_load
  explicit ModbusDA(const ModbusConfig& config);

  long DA_channel_name(long channel, std::string& name) override;
  long DA_channels(long& count) override;
  long DA_dll_date(std::string& date) override;
  long DA_set(long channel, long raw) override;
  long DA_set_voltage(long channel, float volts) override;
  long DA_init(long base, bool& answers) override;
  long DA_interface_name(std::string& name) override;
  long DA_load(const std::string& name, bool& loaded) override;
  long DA_Range(long index, float& low, float& high) override;
  long DA_Ranges(long& count) override;
  long DA_set_range(long index) override;
  long DA_winrt_device(long& driver) override;
  std::string LastError() const override { return link_.LastError(); }

 private:
  long Write(long channel, double value);

  ModbusLink link_;
  bool fixed_ = false;
};

class ModbusIO : public IOBackend {
 public:
  ModbusIO();  // reads "Modbus I/O" at IO_load
  explicit ModbusIO(const ModbusConfig& config);

  long IO_dll_date(std::string& date) override;
  long IO_init(long base, bool& answers) override;
  long IO_interface_name(std::string& name) override;
  long IO_pins_in(long& count) override;
  long IO_pins_out(long& count) override;
  long IO_winrt_device(long& driver) override;
  long IO_load(const std::string& name, bool& loaded) override;
  long IO_pin(long pin, bool& level) override;
  long IO_pin(long pin, bool level) override;
  long IO_PinOutStatus(long pin, bool& level) override;
  std::string LastError() const override { return link_.LastError(); }

 private:
  long CheckPin(long pin);

  ModbusLink link_;
  bool fixed_ = false;
};

}  // namespace sv
