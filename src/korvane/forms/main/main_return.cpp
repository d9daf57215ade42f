// The main return's record: the period skeleton, loading and saving the main form, and its
// line properties.
//
// Choices this file makes:
// - A new main form's packed text follows the "F113202" field list: the taxpayer's NPWP, name
//   and address, the period, TGL_SETOR = dTgl_Setor, every other field empty. The identity is
//   filled whether or not the taxpayer is a collector: the main return is always his own.
// - dTgl_Rekam is the header row's TGL_REKAM ("DD/MM/YYYY"); TGL_UBAH and NIP are ''.
// - The other skeleton rows take dTgl_Rekam as TGL_REKAM and '' as TGL_UBAH; the SSP-list
//   headers insert eleven values and leave NIP to the store, as the list classes do.
// - The form-name and slip-number arguments of pCreateF113202Hdr are accepted and not used: the
//   main form is always 'F113202' with slip number '-'.
#include "korvane/forms/main/main_return.hpp"

#include <array>
#include <cstdio>
#include <vector>

#include "korvane/store/companion.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/sql.hpp"

namespace korvane {
namespace {

struct DefaultCommodity {
  std::string_view code;
  std::string_view name;
  std::string_view documentKind;
};

// What a period gets when the store knows no article-22 commodity yet.
constexpr DefaultCommodity kDefaultCommodities[] = {
    {"01", "PREMIX/SUPER TT", "07"}, {"02", "SOLAR", "08"},   {"03", "PREMIUM", "09"},
    {"04", "MINYAK TANAH", "10"},    {"05", "GAS LPG", "11"}, {"06", "PELUMAS", "12"},
};

// The oil-and-gas list header of the i-th commodity (from 1): "07", "08", ... "10", "11", ...
std::string commodityDocumentKind(long i) {
  std::array<char, 24> buffer{};
  std::snprintf(buffer.data(), buffer.size(), "%02ld", 6 + i);
  return buffer.data();
}

}  // namespace

void CF113202::pCreateF113202Hdr(const std::string& sNPWP, const std::string& /*snmForm*/,
                                 const std::string& sJnsDok, std::int16_t iMsPjk,
                                 std::int16_t iThPjk, std::int16_t iCorrSeq,
                                 const std::string& /*sNoBukti*/, const std::string& sJnsPjk,
                                 const std::string& sNmWP, const std::string& sAlamat,
                                 const Date& dTgl_Setor, const Date& dTgl_Rekam,
                                 const std::string& strJenisWP) {
  reported([&] {
    const std::string npwp = sql::text(sNPWP);
    const std::string period = " AND MS_PAJAK = " + sql::number(iMsPjk) +
                               " AND TH_PAJAK = " + sql::number(iThPjk) +
                               " AND KD_PEMBETULAN_KE = " + sql::number(iCorrSeq);
    const std::string keyValues =
        sql::number(iMsPjk) + ", " + sql::number(iThPjk) + ", " + sql::number(iCorrSeq);
    const std::string recorded = sql::text(dTgl_Rekam.text());
    const std::string monthYearCorrection = std::to_string(iMsPjk) + ";" + std::to_string(iThPjk) +
                                            ";" + std::to_string(iCorrSeq) + ";";
    const std::string identity = sNPWP + ";" + sNmWP + ";" + sAlamat + ";";
    // Lists of a collector carry his identity; anyone else's lists leave it empty.
    const std::string listPrefix =
        (strJenisWP == "Pemungut" ? identity : std::string(";;;")) + monthYearCorrection;

    auto ensureRow = [&](const std::string& lookup, const std::string& insert) {
      if (!exists(lookup)) execute(insert);
    };
    auto sspLookup = [&](std::string_view form, std::string_view kind) {
      return "SELECT * FROM DAT_SSP_PPh22 WHERE NPWP = " + npwp +
             " AND KD_FORM = " + sql::text(form) + " AND JENIS_DOKUMEN = " + sql::text(kind) +
             period;
    };
    auto sspInsert = [&](std::string_view form, std::string_view kind, const std::string& text) {
      return "INSERT INTO DAT_SSP_PPh22 VALUES (" + npwp + ", " + sql::text(form) + " , " +
             sql::text(kind) + ", " + keyValues + ", '-', '112', " + sql::text(text) + ", " +
             recorded + ", '')";
    };

    // 1. The main form.
    std::vector<Variant> mainFields(fieldList("F113202").size(), Variant(Null));
    mainFields[0] = sNPWP;
    mainFields[1] = sNmWP;
    mainFields[2] = sAlamat;
    mainFields[3] = iMsPjk;
    mainFields[4] = iThPjk;
    mainFields[5] = iCorrSeq;
    mainFields[6] = dTgl_Setor;
    ensureRow("SELECT * FROM DS_FORM_INDUK WHERE NPWP = " + npwp +
                  " AND KD_FORM = 'F113202' AND JENIS_DOKUMEN = " + sql::text(sJnsDok) + period +
                  " AND NOBUKTI = '-' AND KD_JENIS_PAJAK = " + sql::text(sJnsPjk),
              "INSERT INTO DS_FORM_INDUK VALUES (" + npwp + ", 'F113202' , " + sql::text(sJnsDok) +
                  ", " + keyValues + ", '-', " + sql::text(sJnsPjk) + ", " +
                  sql::text(FieldTextCompanion::join(mainFields)) + ", " + recorded + ", '', '')");

    // 2. The slip list: always the taxpayer's own identity.
    ensureRow("SELECT * FROM DS_FORM_INDUK WHERE NPWP = " + npwp +
                  " AND KD_FORM = 'D113204' AND JENIS_DOKUMEN = '09'" + period,
              "INSERT INTO DS_FORM_INDUK VALUES (" + npwp + ", 'D113204' , '09', " + keyValues +
                  ", '-', '112', " + sql::text(identity + monthYearCorrection + "0;0") + ", " +
                  recorded + ", '', '')");

    // 3. The import lists. D113203DN is looked for under "11" but written under "13", so every
    // call adds one more: kept as it has always been.
    ensureRow(sspLookup("D113203", "08"), sspInsert("D113203", "08", listPrefix + "0"));
    ensureRow(sspLookup("D113203DN", "11"), sspInsert("D113203DN", "13", listPrefix + "0"));
    ensureRow(sspLookup("DImporDbyrSdr", "12"), sspInsert("DImporDbyrSdr", "12", listPrefix + "0"));

    // 4. One oil-and-gas list header per commodity.
    auto commodities =
        open("SELECT * FROM JENIS_KOMODITI WHERE PASAL = 22 ORDER BY KODE_KOMODITI ASC");
    if (commodities->RecordCount() > 0) {
      auto name = commodities->columnIndex("NAMA_KOMODITI");
      auto rate = commodities->columnIndex("TARIF_NETTO");
      for (long i = 1; i <= commodities->RecordCount(); ++i) {
        auto row = static_cast<std::size_t>(i - 1);
        auto kind = commodityDocumentKind(i);
        ensureRow(
            sspLookup("D113202", kind),
            sspInsert("D113202", kind,
                      listPrefix + commodities->cell(row, static_cast<std::size_t>(name)).text() +
                          ";" + commodities->cell(row, static_cast<std::size_t>(rate)).text() +
                          ";0;0;0;0"));
      }
      return;
    }
    for (const auto& commodity : kDefaultCommodities) {
      execute("INSERT INTO JENIS_KOMODITI VALUES (" + sql::text(commodity.code) + ", " +
              sql::text(commodity.name) + ", 22, " + sql::text("0.00") + ")");
    }
    for (const auto& commodity : kDefaultCommodities) {
      ensureRow(sspLookup("D113202", commodity.documentKind),
                sspInsert("D113202", commodity.documentKind,
                          listPrefix + std::string(commodity.name) + ";0,3;0;0;0;0"));
    }
  });
}

void CF113202::pGetF113202(const std::string& /*sNPWP*/, std::int16_t NBulan, std::int16_t NTahun,
                           std::int16_t Pembetulan) {
  reported([&] {
    auto header = open("SELECT * FROM DS_FORM_INDUK WHERE (KD_FORM ='F113202' AND TH_PAJAK = " +
                       sql::number(NTahun) + " AND KD_PEMBETULAN_KE = " + sql::number(Pembetulan) +
                       " AND MS_PAJAK = " + sql::number(NBulan) + ")");
    rs22Hdr(header);
    if (header->RecordCount() >= 1) {
      auto form = companion().unpack("F113202", header);
      form->MoveFirst();
      rs22Form(form);
    } else {
      rs22Form(header);
    }
  });
}

void CF113202::pUpdate() {
  reported([&] {
    auto header = rs22Hdr();
    if (!header) {
      throw Error(errc::kInvalidProcedureCall,
                  "Object variable not set: the form has not been loaded.");
    }
    auto packed = companion().pack(rs22Form());
    header->Fields("DAT_FORM").Value(packed);
    header->UpdateBatch();
    header->Requery();
    header->MoveFirst();
  });
}

// The lines. -----------------------------------------------------------------------------------

std::string CF113202::aB11() {
  return reported(std::string(), [&] {
    auto field = formField("B11");
    if (field.Value().isNull()) field.Value("");
    return field.Value().toString();
  });
}
void CF113202::aB11(const std::string& value) {
  reported([&] { formField("B11").Value(value); });
}

void CF113202::aB13(double value) {
  reported([&] { formField("B13").Value(value); });
}
void CF113202::aB23(double value) {
  reported([&] { formField("B23").Value(value); });
}
void CF113202::aB33(double value) {
  reported([&] { formField("B33").Value(value); });
}
void CF113202::aB4a3(double value) {
  reported([&] { formField("B4a3").Value(value); });
}
void CF113202::aB4b3(double value) {
  reported([&] { formField("B4b3").Value(value); });
}
void CF113202::aB53(double value) {
  reported([&] { formField("B53").Value(value); });
}
void CF113202::aB6a3(double value) {
  reported([&] { formField("B6a3").Value(value); });
}
void CF113202::aB6b3(double value) {
  reported([&] { formField("B6b3").Value(value); });
}

double CF113202::aB14() {
  return reported(0.0, [&] { return formField("B14").Value().toDouble(); });
}
void CF113202::aB14(double value) {
  reported([&] { formField("B14").Value(value); });
}
double CF113202::aB24() {
  return reported(0.0, [&] { return formField("B24").Value().toDouble(); });
}
void CF113202::aB24(double value) {
  reported([&] { formField("B24").Value(value); });
}
double CF113202::aB34() {
  return reported(0.0, [&] { return formField("B34").Value().toDouble(); });
}
void CF113202::aB34(double value) {
  reported([&] { formField("B34").Value(value); });
}
double CF113202::aB4a4() {
  return reported(0.0, [&] { return formField("B4a4").Value().toDouble(); });
}
void CF113202::aB4a4(double value) {
  reported([&] { formField("B4a4").Value(value); });
}
double CF113202::aB4b4() {
  return reported(0.0, [&] { return formField("B4b4").Value().toDouble(); });
}
void CF113202::aB4b4(double value) {
  reported([&] { formField("B4b4").Value(value); });
}
double CF113202::aB54() {
  return reported(0.0, [&] { return formField("B54").Value().toDouble(); });
}
void CF113202::aB54(double value) {
  reported([&] { formField("B54").Value(value); });
}
double CF113202::aB6a4() {
  return reported(0.0, [&] { return formField("B6a4").Value().toDouble(); });
}
void CF113202::aB6a4(double value) {
  reported([&] { formField("B6a4").Value(value); });
}
double CF113202::aB6b4() {
  return reported(0.0, [&] { return formField("B6b4").Value().toDouble(); });
}
void CF113202::aB6b4(double value) {
  reported([&] { formField("B6b4").Value(value); });
}

void CF113202::aC2(const Variant& value) {
  reported([&] { formField("c2").Value(value); });
}
void CF113202::aC3(const Variant& value) {
  reported([&] { formField("C3").Value(value); });
}
void CF113202::aB71(const Variant& value) {
  reported([&] { formField("B71").Value(value); });
}
void CF113202::aB73(const Variant& value) {
  reported([&] { formField("B73").Value(value); });
}
void CF113202::aB74(const Variant& value) {
  reported([&] { formField("B74").Value(value); });
}

// Section C's check-boxes. -----------------------------------------------------------------------

void CF113202::aCHKC1(const Variant& value) {
  reported([&] { formField("CHKC1").Value(value); });
}
void CF113202::aCHKC2(const Variant& value) {
  reported([&] { formField("CHKC2").Value(value); });
}
void CF113202::aCHKC3(const Variant& value) {
  reported([&] { formField("CHKC3").Value(value); });
}
void CF113202::aCHKC4(const Variant& value) {
  reported([&] { formField("CHKC4").Value(value); });
}
void CF113202::aCHKC5(const Variant& value) {
  reported([&] { formField("CHKC5").Value(value); });
}
void CF113202::aCHKC6(const Variant& value) {
  reported([&] { formField("CHKC6").Value(value); });
}
void CF113202::aCHKC7(const Variant& value) {
  reported([&] { formField("CHKC7").Value(value); });
}
void CF113202::achkC8(const Variant& value) {
  reported([&] { formField("CHKC8").Value(value); });
}
void CF113202::achkC9(const Variant& value) {
  reported([&] { formField("CHKC9").Value(value); });
}

Variant CF113202::gChk1() {
  return reported(Variant(), [&] { return formField("CHKC1").Value(); });
}
Variant CF113202::gChk2() {
  return reported(Variant(), [&] { return formField("CHKC2").Value(); });
}
Variant CF113202::gChk3() {
  return reported(Variant(), [&] { return formField("CHKC3").Value(); });
}
Variant CF113202::gChk4() {
  return reported(Variant(), [&] { return formField("CHKC4").Value(); });
}
Variant CF113202::gChk5() {
  return reported(Variant(), [&] { return formField("CHKC5").Value(); });
}
Variant CF113202::gChk6() {
  return reported(Variant(), [&] { return formField("CHKC6").Value(); });
}
Variant CF113202::gChk7() {
  return reported(Variant(), [&] { return formField("CHKC7").Value(); });
}
Variant CF113202::gChk8() {
  return reported(Variant(), [&] { return formField("CHKC8").Value(); });
}
Variant CF113202::gChk9() {
  return reported(Variant(), [&] { return formField("CHKC9").Value(); });
}

// Identity and dates. ----------------------------------------------------------------------------

Variant CF113202::aNPWP() {
  return reported(Variant(), [&] { return formField("npwp").Value(); });
}
Variant CF113202::aTGL_SETOR() {
  return reported(Variant(), [&] { return formField("TGL_SETOR").Value(); });
}
void CF113202::aTGL_SETOR(const Variant& value) {
  reported([&] { formField("TGL_SETOR").Value(value); });
}
Variant CF113202::aTGL_LAPOR() {
  return reported(Variant(), [&] { return formField("TGL_LAPOR").Value(); });
}
void CF113202::aTGL_LAPOR(const Variant& value) {
  reported([&] { formField("TGL_LAPOR").Value(value); });
}

}  // namespace korvane
