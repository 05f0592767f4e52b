#include "floortext.h"

void FloorText::PutTimeMark(std::time_t when) {
  std::tm time{};
  localtime_r(&when, &time);
  const int year = time.tm_year + 1900;
  PutTwo(year / 100);
  PutTwo(year % 100);
  *m_at++ = '-';
  PutTwo(time.tm_mon + 1);
  *m_at++ = '-';
  PutTwo(time.tm_mday);
  *m_at++ = ' ';
  PutTwo(time.tm_hour);
  *m_at++ = ':';
  PutTwo(time.tm_min);
  *m_at++ = ':';
  PutTwo(time.tm_sec);
}
