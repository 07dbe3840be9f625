// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <string>
#include <vector>

/// A PDF of one page (PDF 1.4, cross references included) with a heading and some lines.
inline std::string samplePdf(const std::string &heading)
{
    std::string content = "BT /F1 28 Tf 72 740 Td (" + heading + ") Tj ET\nBT /F1 12 Tf 72 700 Td 18 TL\n";
    for (int line = 1; line <= 30; ++line) {
        content += "(Line " + std::to_string(line) + " of a document that waits to be printed.) Tj T*\n";
    }
    content += "ET\n0.12 0.37 0.82 rg 72 100 451 6 re f\n";
    const std::string page = "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R "
                             "/Resources << /Font << /F1 5 0 R >> >> >>";
    const std::vector<std::string> objects{
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        page,
        "<< /Length " + std::to_string(content.size()) + " >>\nstream\n" + content + "endstream",
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
    };
    std::string pdf = "%PDF-1.4\n";
    std::string table = "0000000000 65535 f \n";
    for (std::size_t i = 0; i < objects.size(); ++i) {
        char entry[32];
        std::snprintf(entry, sizeof entry, "%010zu 00000 n \n", pdf.size());
        table += entry;
        pdf += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const std::string count = std::to_string(objects.size() + 1);
    return pdf + "xref\n0 " + count + '\n' + table + "trailer\n<< /Size " + count +
           " /Root 1 0 R >>\nstartxref\n" + std::to_string(pdf.size()) + "\n%%EOF\n";
}
