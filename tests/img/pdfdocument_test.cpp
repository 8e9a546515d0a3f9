#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "kivuimg/img/pdfdocument.h"

using namespace kivu;

// Dates a host gives for the Info dictionary, as PDF writes them.
TEST(DocumentDates, IsoAndPdfForms) {
    const struct {
        const char* given;
        const char* pdf;  // nullptr: refused
    } cases[] = {
        {"2026", "D:20260101000000"},
        {"2026-11", "D:20261101000000"},
        {"2026-11-24", "D:20261124000000"},
        {"2026-11-24T09:30", "D:20261124093000"},
        {"2026-11-24 09:30:15.250Z", "D:20261124093015Z"},
        {"2026-11-24T09:30:15+01:00", "D:20261124093015+01'00'"},
        {"2026-11-24T09:30:15-0530", "D:20261124093015-05'30'"},
        {" D:20261124093015+01'00' ", "D:20261124093015+01'00'"},
        {"D:2026", "D:2026"},
        {"2026-13-01", nullptr},
        {"2026-11-24T25:00", nullptr},
        {"2026-11-24T09", nullptr},
        {"2026-11-24T09:30+1", nullptr},
        {"24.11.2026", nullptr},
        {"D:2026x", nullptr},
        {"", nullptr},
    };
    for (const auto& c : cases) {
        if (c.pdf) EXPECT_EQ(TPdfDocument::pdfDate(c.given), c.pdf) << c.given;
        else EXPECT_THROW(TPdfDocument::pdfDate(c.given), std::runtime_error) << c.given;
    }
    SDocumentOptions options;
    options.info.modDate = "tomorrow";
    EXPECT_THROW(TPdfDocument{options}, std::runtime_error);
}
