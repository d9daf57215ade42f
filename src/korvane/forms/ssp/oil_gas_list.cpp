#include "korvane/forms/ssp/oil_gas_list.hpp"

#include "korvane/forms/ssp/ssp_input.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/sql.hpp"

namespace korvane {
namespace {

constexpr const char* kListForm = "D113202";

// Every value of a pattern is followed by ";", so "SOLAR" never finds "BIO SOLAR" or "SOLAR X".
// A month or correction can still end in another one's digits (1 and 11): the column
// conditions of each statement tell those apart.
std::string headerPattern(std::int16_t month, std::int16_t year, std::int16_t correction,
                          const std::string& commodity) {
  return sql::number(month) + ";" + sql::number(year) + ";" + sql::number(correction) + ";" +
         sql::inner(commodity) + ";";
}

// List rows begin month;year;commodity (they carry no correction).
std::string rowPattern(std::int16_t month, std::int16_t year, const std::string& commodity) {
  return sql::number(month) + ";" + sql::number(year) + ";" + sql::inner(commodity) + ";";
}

std::string headerQuery(std::int16_t month, std::int16_t year, std::int16_t correction,
                        const std::string& commodity) {
  return "SELECT * FROM DAT_SSP_PPh22 WHERE (KD_FORM ='D113202' AND TH_PAJAK = " +
         sql::number(year) + " AND KD_PEMBETULAN_KE = " + sql::number(correction) +
         " AND MS_PAJAK = " + sql::number(month) + " AND DAT_FORM LIKE '%" +
         headerPattern(month, year, correction, commodity) + "%')";
}

std::string collectionQuery(std::int16_t month, std::int16_t year, std::int16_t collection,
                            const std::string& commodity) {
  // No correction condition: rows of every correction of the month show (as designed).
  return "SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE KD_FORM = 'D113202' AND MS_PAJAK = " +
         sql::number(month) + " AND TH_PAJAK = " + sql::number(year) +
         " AND COLLNO = " + sql::number(collection) + " AND DAT_FORM LIKE '%" +
         rowPattern(month, year, commodity) + "%'";
}

// The key of one list row: period, collection, the slip's NTTP and its sequence.
std::string rowKey(std::int16_t month, std::int16_t year, std::int16_t correction,
                   std::int16_t collection, const std::string& nttp, double seq) {
  return "KD_FORM = 'D113202' AND MS_PAJAK = " + sql::number(month) +
         " AND TH_PAJAK = " + sql::number(year) +
         " AND KD_PEMBETULAN_KE = " + sql::number(correction) +
         " AND COLLNO = " + sql::number(collection) + " AND NOBUKTI = " + sql::text(nttp) +
         " AND SEQ = " + sql::number(seq);
}

// "Code + 1" on the text codes of the period's headers: the value is written as plain decimal
// text, so "07" is followed by "8" (not "08"); a Null maximum cannot be converted and fails.
std::string nextDocumentKind(const Variant& maximum) { return numberText(maximum.toDouble() + 1); }

const RecordsetPtr& required(const RecordsetPtr& rs, const char* what) {
  if (!rs) {
    throw Error(errc::kInvalidProcedureCall,
                std::string("Object variable not set: ") + what + " has not been opened.");
  }
  return rs;
}

// Sum of a column's non-Null values over every row, walking from the first.
void sumCollection(const RecordsetPtr& rows, const char* grossField, const char* taxField,
                   std::int16_t& nrec, double& gross, double& tax) {
  rows->MoveFirst();
  while (!rows->EndOfFile()) {
    auto g = rows->Fields(grossField).Value();
    auto t = rows->Fields(taxField).Value();
    if (!g.isNull()) gross += g.toDouble();
    if (!t.isNull()) tax += t.toDouble();
    nrec = static_cast<std::int16_t>(nrec + 1);
    rows->MoveNext();
  }
}

}  // namespace

void CD113202::pCheckHdr(const std::string& sNPWP, std::int16_t iMsPjk, std::int16_t iThPjk,
                         std::int16_t iCorrSeq, const std::string& sPenjualan, bool& exists) {
  reported([&] {
    exists = this->exists("SELECT * FROM DAT_SSP_PPh22 WHERE NPWP = " + sql::text(sNPWP) +
                          " AND KD_FORM = 'D113202' AND MS_PAJAK = " + sql::number(iMsPjk) +
                          " AND TH_PAJAK = " + sql::number(iThPjk) + " AND KD_PEMBETULAN_KE = " +
                          sql::number(iCorrSeq) + " AND DAT_FORM LIKE '%" + sql::number(iCorrSeq) +
                          ";" + sql::inner(sPenjualan) + ";%'");
  });
}

void CD113202::pCreateHdrInduk(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                               const std::string& sPenjualan, const std::string& sNPWP,
                               const std::string& sAlamat, const std::string& sNmWP,
                               const Date& dTgl_Rekam) {
  reported([&] {
    auto maximum = open(
        "SELECT MAX(JENIS_DOKUMEN) AS NewKdPjk FROM DAT_SSP_PPh22 "
        "WHERE KD_FORM = 'D113202' AND MS_PAJAK = " +
        sql::number(iMsPjk) + " AND TH_PAJAK = " + sql::number(iThPjk) +
        " AND KD_PEMBETULAN_KE = " + sql::number(iCorrSeq));
    const std::string code =
        maximum->EndOfFile() ? "07" : nextDocumentKind(maximum->Fields("NewKdPjk").Value());
    // The rate field is written "0,3" with its decimal comma, as every new header has it.
    const std::string datForm = ssp::packByName(kListForm, {{"npwp", sNPWP},
                                                            {"NmWP", sNmWP},
                                                            {"ALM", sAlamat},
                                                            {"MS_PAJAK", iMsPjk},
                                                            {"TH_PAJAK", iThPjk},
                                                            {"KD_PEMBETULAN_KE", iCorrSeq},
                                                            {"PENJUALAN", sPenjualan},
                                                            {"TARIF", "0,3"},
                                                            {"I5", 0},
                                                            {"I6", 0},
                                                            {"II5", 0},
                                                            {"II6", 0}});
    execute(" INSERT INTO DAT_SSP_PPh22 VALUES (" + sql::text(sNPWP) + ", 'D113202' , " +
            sql::text(code) + ", " + sql::number(iMsPjk) + ", " + sql::number(iThPjk) + ", " +
            sql::number(iCorrSeq) + ", '-', '112', " + sql::text(datForm) + ", " +
            sql::text(dTgl_Rekam.text()) + ", '')");
  });
}

void CD113202::pCreateD113202Hdr(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                                 std::int16_t iCollNo, const std::string& sNoBukti,
                                 const std::string& sNPWPLT, const std::string& sAlmLT,
                                 const std::string& sNmWPLT, const Variant& dTgl_Potong,
                                 const std::string& sPenjualan, double dJmlPhsl, double dJmlPjk,
                                 double dSeq) {
  reported([&] {
    // An edited slip replaces its row under the same sequence.
    const auto key = rowKey(iMsPjk, iThPjk, iCorrSeq, iCollNo, sNoBukti, dSeq);
    if (exists("SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE " + key)) {
      execute("DELETE * FROM LAMPIRAN_SSP_PPh22 WHERE " + key);
    }
    const bool final = iCollNo == 0;
    const std::string datForm =
        ssp::packByName(final ? "D113202-CollA" : "D113202-CollB", {{"MS_PAJAK", iMsPjk},
                                                                    {"TH_PAJAK", iThPjk},
                                                                    {"PENJUALAN", sPenjualan},
                                                                    {"SEQ", dSeq},
                                                                    {"NPWPLT", sNPWPLT},
                                                                    {"NMWPLT", sNmWPLT},
                                                                    {"ALMLT", sAlmLT},
                                                                    {"TGL_PUNGUT", dTgl_Potong},
                                                                    {final ? "A5" : "B5", dJmlPhsl},
                                                                    {final ? "A6" : "B6", dJmlPjk},
                                                                    {"NTTP", sNoBukti}});
    execute("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('D113202' , " + sql::number(iMsPjk) + ", " +
            sql::number(iThPjk) + ", " + sql::number(iCorrSeq) + ", " + sql::number(iCollNo) +
            ", " + sql::number(dSeq) + ", " + sql::text(sNoBukti) + ", " + sql::text(datForm) +
            ")");
  });
}

void CD113202::pDeleteD113202Coll(const std::string& /*snmForm*/, std::int16_t iMsPjk,
                                  std::int16_t iThPjk, std::int16_t iCorrSeq,
                                  const std::string& sNoBukti, std::int16_t iCollNo, double dSeq) {
  reported([&] {
    const std::string condition =
        "(KD_FORM = 'D113202') AND (COLLNO = " + sql::number(iCollNo) +
        ") AND (MS_PAJAK = " + sql::number(iMsPjk) + ") AND (TH_PAJAK = " + sql::number(iThPjk) +
        ") AND (KD_PEMBETULAN_KE = " + sql::number(iCorrSeq) +
        ") AND (NOBUKTI = " + sql::text(sNoBukti) + ") AND SEQ = " + sql::number(dSeq) + ")";
    if (exists(" SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE (" + condition)) {
      execute(" DELETE * FROM LAMPIRAN_SSP_PPh22 WHERE (" + condition);
    }
  });
}

void CD113202::pGetD113202(const std::string& /*sNPWP*/, std::int16_t bulan, std::int16_t tahun,
                           std::int16_t Pembetulan, const std::string& sPenjualan) {
  reported([&] {
    const auto y = sql::number(tahun);
    const auto k = sql::number(Pembetulan);
    const auto m = sql::number(bulan);
    const auto hp = headerPattern(bulan, tahun, Pembetulan, sPenjualan);
    const auto rp = rowPattern(bulan, tahun, sPenjualan);
    rs22Hdr(
        open("SHAPE {SELECT * FROM DAT_SSP_PPh22 WHERE (KD_FORM = 'D113202' "
             "AND TH_PAJAK = " +
             y + " AND KD_PEMBETULAN_KE = " + k +
             " "
             "AND MS_PAJAK = " +
             m + " AND DAT_FORM LIKE '%" + hp +
             "%')} AS dD113202Hdr "
             "APPEND ({SELECT * FROM LAMPIRAN_SSP_PPh22 Where COLLNO = 0 AND DAT_FORM LIKE '%" +
             rp +
             "%'} AS d22Details1 "
             "RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK, TH_PAJAK TO TH_PAJAK, "
             "KD_PEMBETULAN_KE TO KD_PEMBETULAN_KE) AS d22Details1, "
             "({SELECT * FROM LAMPIRAN_SSP_PPh22 Where COLLNO = 1 AND DAT_FORM LIKE '%" +
             rp +
             "%'} AS d22Details2 "
             "RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK, TH_PAJAK TO TH_PAJAK, "
             "KD_PEMBETULAN_KE TO KD_PEMBETULAN_KE) AS d22Details2"));
    // The field views of the same rows, so that the totals can be recounted and saved.
    auto header = rs22Hdr();
    rs22Form(companion().unpack(kListForm, header));
    RecordsetPtr finalRows, notFinalRows;
    if (!header->EndOfFile()) {
      finalRows = header->Fields("d22Details1").Value().toRecordset();
      notFinalRows = header->Fields("d22Details2").Value().toRecordset();
    }
    rs22FormColl1(companion().unpack("D113202-CollA", finalRows));
    rs22FormColl2(companion().unpack("D113202-CollB", notFinalRows));
  });
}

void CD113202::pGetD113202Induk(const std::string& /*sNPWP*/, std::int16_t bulan,
                                std::int16_t tahun, std::int16_t Pembetulan,
                                const std::string& sPenjualan) {
  reported([&] {
    rs22Hdr(open(headerQuery(bulan, tahun, Pembetulan, sPenjualan)));
    rs22Form(companion().unpack(kListForm, rs22Hdr()));
  });
}

void CD113202::pGetLampiran1(std::int16_t bulan, std::int16_t tahun, std::int16_t /*Pembetulan*/,
                             const std::string& sPenjualan) {
  reported([&] {
    rs22FormColl1(
        companion().unpack("D113202-CollA", open(collectionQuery(bulan, tahun, 0, sPenjualan))));
  });
}

void CD113202::pGetLampiran2(std::int16_t bulan, std::int16_t tahun, std::int16_t /*Pembetulan*/,
                             const std::string& sPenjualan) {
  reported([&] {
    rs22FormColl2(
        companion().unpack("D113202-CollB", open(collectionQuery(bulan, tahun, 1, sPenjualan))));
  });
}

void CD113202::pPPhFinal(std::int16_t& nrec) {
  reported([&] {
    auto rows = required(rs22FormColl1(), "the final collection");
    nrec = 0;
    if (rows->RecordCount() == 0) return;
    double gross = 0, tax = 0;
    sumCollection(rows, "A5", "A6", nrec, gross, tax);
    formField("I5").Value(gross);
    formField("I6").Value(tax);
  });
}

void CD113202::pPPhTdkFinal(std::int16_t& nrec) {
  reported([&] {
    auto rows = required(rs22FormColl2(), "the not-final collection");
    nrec = 0;
    if (rows->RecordCount() == 0) return;
    double gross = 0, tax = 0;
    sumCollection(rows, "B5", "B6", nrec, gross, tax);
    formField("II5").Value(gross);
    formField("II6").Value(tax);
  });
}

namespace {
// Moves a pair of header totals by one slip: up when adding or editing, down when deleting.
void moveTotals(Field gross, Field tax, bool up, bool down, double jPhsl, double jPPh) {
  if (up) {
    gross.Value(gross.Value().toDouble() + jPhsl);
    tax.Value(tax.Value().toDouble() + jPPh);
  } else if (down) {
    gross.Value(gross.Value().toDouble() - jPhsl);
    tax.Value(tax.Value().toDouble() - jPPh);
  }
}
}  // namespace

void CD113202::pJmlPajakFinal(double jPhsl, double jPPh) {
  reported([&] {
    moveTotals(formField("I5"), formField("I6"), adding() || editing(), deleting(), jPhsl, jPPh);
  });
}

void CD113202::pJmlPajakTdkFinal(double jPhsl, double jPPh) {
  reported([&] {
    moveTotals(formField("II5"), formField("II6"), adding() || editing(), deleting(), jPhsl, jPPh);
  });
}

void CD113202::pUpdate() {
  reported([&] {
    auto profile = open("SELECT NPWP FROM DAT_PROFILE");
    const std::string npwp =
        profile->EndOfFile() ? std::string() : profile->Fields("NPWP").Value().text();
    const auto month = formField("MS_PAJAK").Value().toInt16();
    const auto year = formField("TH_PAJAK").Value().toInt16();
    const auto correction = formField("KD_PEMBETULAN_KE").Value().toInt16();
    const auto commodity = formField("PENJUALAN").Value().text();
    const auto datForm = companion().pack(rs22Form());

    auto header = open(headerQuery(month, year, correction, commodity));
    if (!header->EndOfFile()) {
      header->Fields("DAT_FORM").Value(datForm);
      header->UpdateBatch();
      return;
    }
    // A header that is not there yet is written only when the list is adding.
    if (!adding()) return;
    auto maximum = open(
        "SELECT MAX(JENIS_DOKUMEN) AS MAXDOC FROM DAT_SSP_PPh22 WHERE (KD_FORM ='D113202' AND "
        "TH_PAJAK = " +
        sql::number(year) + " AND KD_PEMBETULAN_KE = " + sql::number(correction) +
        " AND MS_PAJAK = " + sql::number(month) + ")");
    Variant maxDoc = maximum->EndOfFile() ? Variant() : maximum->Fields("MAXDOC").Value();
    if (maxDoc.isNull() || maxDoc.isEmpty()) maxDoc = "0";
    const auto today = Date::today().text();
    header->AddNew();
    header->Fields("NPWP").Value(npwp);
    header->Fields("KD_FORM").Value(kListForm);
    header->Fields("JENIS_DOKUMEN").Value(nextDocumentKind(maxDoc));
    header->Fields("MS_PAJAK").Value(month);
    header->Fields("TH_PAJAK").Value(year);
    header->Fields("KD_PEMBETULAN_KE").Value(correction);
    header->Fields("KD_JENIS_PAJAK").Value("112");
    header->Fields("TGL_REKAM").Value(today);
    header->Fields("TGL_UBAH").Value(today);
    header->Fields("NIP").Value("-");
    header->Fields("DAT_FORM").Value(datForm);
    header->Fields("NOBUKTI").Value("-");
    header->UpdateBatch();
  });
}

Variant CD113202::aNPWP() {
  return reported(Variant(), [&] { return formField("npwp").Value(); });
}

void CD113202::aNPWP(const Variant& value) {
  reported([&] { formField("npwp").Value(value); });
}

std::string CD113202::aPenjualan() {
  return reported(std::string(), [&] { return formField("PENJUALAN").Value().text(); });
}

void CD113202::aPenjualan(const std::string& value) {
  reported([&] { formField("PENJUALAN").Value(value); });
}

void CD113202::aTarif(const Variant& value) {
  reported([&] { formField("TARIF").Value(value); });
}

void CD113202::aNMWP(const Variant& value) {
  reported([&] { formField("NmWP").Value(value); });
}

void CD113202::aALM(const Variant& value) {
  reported([&] { formField("ALM").Value(value); });
}

}  // namespace korvane
