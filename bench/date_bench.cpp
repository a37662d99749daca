// SPDX-License-Identifier: MIT
// The clock and dates beside the C library's.
#include <cstdio>
#include <ctime>

#include "operation.h"
#include "operation_bench.h"
#include "qnstack/qn_fs_comm_tools.h"

namespace {

using qnbench::Keep;
using qnbench::Opaque;
using qnbench::Operation;

constexpr char kHttpDate[] = "Sun, 06 Nov 1994 08:49:37 GMT";
constexpr char kHttpForm[] = "%a, %d %b %Y %H:%M:%S GMT";
constexpr uint32_t kSeconds = 1260000000;  // 2009-12-05

QNTime OurFields() { return {2009, 12, 5, 8, 0, 0, 0}; }

tm TheirFields() {
  tm fields = {};
  fields.tm_year = 109;
  fields.tm_mon = 11;
  fields.tm_mday = 5;
  fields.tm_hour = 8;
  return fields;
}

void Conversions() {
  Operation("dates", "broken-down time to seconds")
      .By(qnbench::kOurs, [t = OurFields()] { Keep(JULIANTOSECONDS(Opaque(&t))); })
      .By("timegm", [t = TheirFields()]() mutable { Keep(timegm(Opaque(&t))); });
  Operation("dates", "six fields to seconds")
      .By(qnbench::kOurs,
          [t = OurFields()] {
            const QNTime *f = Opaque(&t);
            Keep(fnQNFS_RealTime_To_Seconds(f->year, f->month, f->day, f->hour, f->minute,
                                            f->second, 0, 0));
          })
      .By("timegm", [t = TheirFields()] {
        tm fields = *Opaque(&t);
        Keep(timegm(&fields));
      });
  Operation("dates", "seconds to broken-down time")
      .By(qnbench::kOurs,
          [seconds = kSeconds] {
            QNTime t;
            GETJULIANDATE(*Opaque(&seconds), &t);
            Keep(t);
          })
      .By("gmtime_r", [seconds = time_t{kSeconds}] {
        tm t;
        gmtime_r(Opaque(&seconds), &t);
        Keep(t);
      });
  Operation("dates", "40 days added")
      .By(qnbench::kOurs,
          [] {
            QNTime t = OurFields();
            fnQNFS_TimeAdd(Opaque(&t), 40 * 86400);
            Keep(t);
          })
      .By("timegm", [] {
        tm t = TheirFields();
        t.tm_sec += 40 * 86400;
        timegm(Opaque(&t));
        Keep(t);
      });
}

void Text() {
  Operation("dates", "HTTP date read")
      .By(qnbench::kOurs, [] { Keep(parse_date_str(Opaque(kHttpDate))); })
      .By("strptime and timegm", [] {
        tm t = {};
        strptime(Opaque(kHttpDate), kHttpForm, &t);
        Keep(timegm(&t));
      });
  Operation("dates", "HTTP date written")
      .By(qnbench::kOurs,
          [seconds = kSeconds] {
            char text[48];
            Keep(date_to_httpDate(*Opaque(&seconds), text));
          })
      .By("gmtime_r and strftime", [seconds = time_t{kSeconds}] {
        char text[48];
        tm t;
        gmtime_r(Opaque(&seconds), &t);
        Keep(strftime(text, sizeof text, kHttpForm, &t));
      });
}

void Clock() {
  Operation("dates", "now, broken down")
      .By(qnbench::kOurs,
          [] {
            QNTime t;
            Keep(fnQNFS_LocalTime(&t));
          })
      .By("time and localtime_r", [] {
        const time_t now = time(nullptr);
        tm t;
        Keep(localtime_r(&now, &t));
      });
  Operation("dates", "now, in seconds of local time")
      .By(qnbench::kOurs, [] { Keep(GETTIMESECONDS()); })
      .By("time, localtime_r and timegm", [] {
        const time_t now = time(nullptr);
        tm t;
        Keep(timegm(localtime_r(&now, &t)));
      });
}

}  // namespace

void qnbench::RegisterDates() {
  Conversions();
  Text();
  Clock();
}
