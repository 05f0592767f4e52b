#include "steptap.h"

#include <array>
#include <cstddef>
#include <utility>

#include "datasource/alarmdata.h"
#include "service/cloudlink.h"
#include "service/uploaddrivers.h"

// The steps, and what stands in their places, under their names for the linker.
std::uint32_t RealGetAlarmData(CAlarmData* self, std::vector<Alarm_Data_Para>* rows) __asm__(
    "__real__ZN10CAlarmData12GetAlarmDataEPSt6vectorI15Alarm_Data_ParaSaIS1_EE");
std::uint32_t TappedGetAlarmData(CAlarmData* self, std::vector<Alarm_Data_Para>* rows) __asm__(
    "__wrap__ZN10CAlarmData12GetAlarmDataEPSt6vectorI15Alarm_Data_ParaSaIS1_EE");
int RealCreateAlarmDataFile(const Alarm_Data_Struct* events, const char* dir, std::vector<std::string>* files, Alarm_Data_Struct* unwritten) __asm__(
    "__real__Z19CreateAlarmDataFilePKSt6vectorI15Alarm_Data_ParaSaIS0_EEPKcPS_INSt7__cxx11"
    "12basic_stringIcSt11char_traitsIcESaIcEEESaISC_EEPS2_");
int TappedCreateAlarmDataFile(const Alarm_Data_Struct* events, const char* dir, std::vector<std::string>* files, Alarm_Data_Struct* unwritten) __asm__(
    "__wrap__Z19CreateAlarmDataFilePKSt6vectorI15Alarm_Data_ParaSaIS0_EEPKcPS_INSt7__cxx11"
    "12basic_stringIcSt11char_traitsIcESaIcEEESaISC_EEPS2_");
int RealSyncHeartBeat() __asm__("__real__Z13SyncHeartBeatv");
int TappedSyncHeartBeat() __asm__("__wrap__Z13SyncHeartBeatv");

namespace {

constexpr std::size_t kSteps = 3;
thread_local std::array<bool, kSteps> t_fails{};

bool Fails(test::Step step) {
  return std::exchange(t_fails[static_cast<std::size_t>(step)], false);
}

}  // namespace

void test::FailNextStep(Step step) {
  t_fails[static_cast<std::size_t>(step)] = true;
}

std::uint32_t TappedGetAlarmData(CAlarmData* self, std::vector<Alarm_Data_Para>* rows) {
  if (Fails(test::Step::kReadEvents)) return static_cast<std::uint32_t>(-1);
  return RealGetAlarmData(self, rows);
}

int TappedCreateAlarmDataFile(const Alarm_Data_Struct* events, const char* dir,
                              std::vector<std::string>* files, Alarm_Data_Struct* unwritten) {
  if (Fails(test::Step::kPackEvents)) return -1;
  return RealCreateAlarmDataFile(events, dir, files, unwritten);
}

int TappedSyncHeartBeat() {
  return Fails(test::Step::kAskForTheAddress) ? -1 : RealSyncHeartBeat();
}
