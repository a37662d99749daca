// SPDX-License-Identifier: MIT
// Formatted text and numbers beside the C library's formatter.
#include <cstdio>
#include <string>

#include "operation.h"
#include "operation_bench.h"
#include "qnstack/qn_itoa.h"
#include "qnstack/qn_snprintf.h"

namespace {

using qnbench::Keep;
using qnbench::Opaque;
using qnbench::Operation;

constexpr uint32_t kRoom = 512;
const std::string kLongText(300, 'x');

// Both formatters on the same arguments, which they see as a caller has them.
template <typename... Arguments>
void Formatted(const char *name, const char *format, Arguments... arguments) {
  Operation row("formatting", name);
  row.By(qnbench::kOurs, [=] {
    char text[kRoom];
    Keep(fnQNRTL_snprintf(text, kRoom, Opaque(format), arguments...));
    Keep(text);
  });
  row.By("snprintf", [=] {
    char text[kRoom];
    Keep(std::snprintf(text, kRoom, Opaque(format), arguments...));
    Keep(text);
  });
}

void Integer(const char *name, int32_t value, int32_t radix, const char *format) {
  Operation row("formatting", name);
  row.By(qnbench::kOurs, [=] {
    char text[36];
    int32_t number = value;
    benchmark::DoNotOptimize(number);
    Keep(fnQNRTL_itoa(number, text, radix));
  });
  row.By("snprintf", [=] {
    char text[36];
    int32_t number = value;
    benchmark::DoNotOptimize(number);
    Keep(std::snprintf(text, sizeof text, Opaque(format), number));
  });
}

void Fraction(const char *name, double value) {
  Operation row("formatting", name);
  row.By(qnbench::kOurs, [=] {
    char text[40];
    double number = value;
    benchmark::DoNotOptimize(number);
    Keep(fnQNRTL_ftoa(number, text, 10));
  });
  row.By("snprintf", [=] {
    char text[40];
    double number = value;
    benchmark::DoNotOptimize(number);
    Keep(std::snprintf(text, sizeof text, Opaque("%.4f"), number));
  });
}

}  // namespace

void qnbench::RegisterFormatting() {
  Formatted("\"%s: %s\", a header line", "%s: %s\r\n", "User-Agent",
            "MRV-WIN K415/WAP2.0 Profile/MIDP-2.0 Configuration/CLDC-1.1");
  Formatted("\"%s %s %d\", a request line", "%s %s HTTP/1.%d\r\n", "GET",
            "/servlets/mms?message-id=hy9a70nI5pe", 0);
  Formatted("\"%d\"", "%d", 1234567);
  Formatted("\"%u.%u.%u.%u:%u\"", "%u.%u.%u.%u:%u", 127U, 0U, 0U, 1U, 8080U);
  Formatted("\"%08x %-12s|%5d\"", "%08x %-12s|%5d", 0xBEEFU, "left", 42);
  Formatted("\"%.2f\"", "%.2f", 3.14159);
  Formatted("300 characters by \"%s\"", "%s", kLongText.c_str());
  Integer("itoa 10, 7 digits", 1234567, 10, "%d");
  Integer("itoa 10, negative", -2147483647, 10, "%d");
  Integer("itoa 10, 1 digit", 7, 10, "%d");
  Integer("itoa 16, 8 digits", 0x7EADBEEF, 16, "%x");
  Fraction("ftoa, 3.14159", 3.14159);
  Fraction("ftoa, -1234.5", -1234.5);
}
