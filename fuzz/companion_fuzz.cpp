// Packed texts come back from stores and import files, so any text must unpack under any form's
// field list without failing, and packing what was unpacked must settle: after one pass (which
// normalizes numbers and dates and drops surplus fields) unpack-then-pack gives the text back.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "check.hpp"
#include "korvane/store/companion.hpp"
#include "korvane/store/recordset.hpp"

namespace {

using korvane::fuzz::check;

constexpr std::string_view kFormCodes[] = {
    "F113202",           "F113303",
    "F113305",           "F113304",
    "F113304A",          "F113304S",
    "D113204",           "D113204-Coll",
    "D113202",           "D113202-CollA",
    "D113202-CollB",     "D113203",
    "D113203DN",         "D113203-Coll",
    "DImporDbyrSdr",     "DImporDbyrSdr-Coll",
    "PPh22MigasFinal",   "PPh22MigasTdkFinal",
    "PPh22Impor",        "PPh22",
    "PPh22ImporDbyrSdr",
};

// Stored rows carrying the given texts, alternately with filled key columns (which complete
// empty key fields) and with the empty or "-" keys of header rows the lists insert.
korvane::RecordsetPtr storedRows(const std::vector<std::string>& texts) {
  auto rows = std::make_shared<korvane::Recordset>(std::vector<std::string>{
      "NPWP", "MS_PAJAK", "TH_PAJAK", "KD_PEMBETULAN_KE", "NOBUKTI", "SEQ", "DAT_FORM"});
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (i % 2 == 0) {
      rows->appendRow(
          {korvane::Variant("012345678901000"), korvane::Variant(static_cast<std::int16_t>(5)),
           korvane::Variant(static_cast<std::int16_t>(2013)),
           korvane::Variant(static_cast<std::int16_t>(1)), korvane::Variant("000001/PPH22"),
           korvane::Variant(3.0), korvane::Variant(texts[i])});
    } else {
      rows->appendRow({korvane::Null, korvane::Null, korvane::Variant(""), korvane::Null,
                       korvane::Variant("-"), korvane::Null, korvane::Variant(texts[i])});
    }
  }
  return rows;
}

std::vector<std::string> unpackThenPack(const korvane::FieldTextCompanion& companion,
                                        std::string_view formCode,
                                        const std::vector<std::string>& texts) {
  auto fields = companion.unpack(formCode, storedRows(texts));
  std::vector<std::string> packed;
  for (fields->MoveFirst(); !fields->EndOfFile(); fields->MoveNext()) {
    packed.push_back(companion.pack(fields));
  }
  return packed;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const korvane::FieldTextCompanion companion;
  for (const auto formCode : kFormCodes) {
    const auto fieldCount = korvane::fieldList(formCode).size();
    companion.fits(formCode, text);

    const auto once = unpackThenPack(companion, formCode, {text, text});
    check(once.size() == 2);
    for (const auto& packed : once) {
      // A packed text has exactly one field per list entry, so it always fits its list.
      check(static_cast<std::size_t>(std::count(packed.begin(), packed.end(), ';')) + 1 ==
            fieldCount);
      check(companion.fits(formCode, packed));
    }
    check(unpackThenPack(companion, formCode, once) == once);
  }
  return 0;
}
