#include "korvane/forms/ssp/import_list.hpp"

#include <vector>

#include "korvane/forms/ssp/ssp_input.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/sql.hpp"

namespace korvane {
namespace ssp {
namespace {

// Buyers without a tax number write fifteen or sixteen zeros.
constexpr std::string_view kNoNpwp15 = "000000000000000";
constexpr std::string_view kNoNpwp16 = "0000000000000000";

double numeric(const Variant& value) {
  return value.isNull() || value.isEmpty() ? 0.0 : value.toDouble();
}

const RecordsetPtr& required(const RecordsetPtr& rs, const char* what) {
  if (!rs) {
    throw Error(errc::kInvalidProcedureCall,
                std::string("Object variable not set: ") + what + " has not been opened.");
  }
  return rs;
}

}  // namespace

std::string_view listDocumentKind(std::string_view listForm) {
  if (listForm == "D113203") return "08";
  if (listForm == "D113203DN") return "13";
  if (listForm == "DImporDbyrSdr") return "12";
  return "";
}

std::string ImportList::listForm(const std::string& argument) const {
  return variant_.fixedForm.empty() ? argument : std::string(variant_.fixedForm);
}

bool ImportList::headerExists(const std::string& npwp, std::int16_t month, std::int16_t year,
                              std::int16_t correction, const std::string& form) const {
  return exists("SELECT * FROM DAT_SSP_PPh22 WHERE NPWP = " + sql::text(npwp) +
                " AND KD_FORM = " + sql::text(form) + " AND MS_PAJAK = " + sql::number(month) +
                " AND TH_PAJAK = " + sql::number(year) +
                " AND KD_PEMBETULAN_KE = " + sql::number(correction));
}

// The packed text starts with the taxpayer and the period; every total starts at 0.
void ImportList::insertHeader(const std::string& storedForm, const std::string& fieldsForm,
                              const std::string& documentKind, std::int16_t month,
                              std::int16_t year, std::int16_t correction, const std::string& npwp,
                              const std::string& address, const std::string& name,
                              const Date& recorded) {
  const auto fields = fieldList(fieldsForm);
  std::vector<Variant> values(fields.size(), Variant(Null));
  values[0] = npwp;
  values[1] = name;
  values[2] = address;
  values[3] = month;
  values[4] = year;
  values[5] = correction;
  for (std::size_t i = 6; i < fields.size(); ++i) values[i] = 0;
  execute(" INSERT INTO DAT_SSP_PPh22 VALUES (" + sql::text(npwp) + ", " + sql::text(storedForm) +
          " , " + sql::text(documentKind) + ", " + sql::number(month) + ", " + sql::number(year) +
          ", " + sql::number(correction) + ", '-', '112', " +
          sql::text(FieldTextCompanion::join(values)) + ", " + sql::text(recorded.text()) +
          ", '')");
}

// Several buyers without a tax number may share one NTTP and sequence; their rows are told
// apart by name and address (each followed by ";" as in every pattern).
std::string ImportList::buyerCondition(const RowKey& key) const {
  if (!variant_.buyerInRowKey || (key.buyerNpwp != kNoNpwp15 && key.buyerNpwp != kNoNpwp16)) {
    return "";
  }
  return " AND DAT_FORM LIKE '%;" + sql::inner(key.buyerName) + ";" + sql::inner(key.buyerAddress) +
         ";%'";
}

void ImportList::replaceRow(const RowKey& key, const std::string& datForm) {
  const auto condition =
      "KD_FORM = " + sql::text(key.form) + " AND MS_PAJAK = " + sql::number(key.month) +
      " AND TH_PAJAK = " + sql::number(key.year) +
      " AND KD_PEMBETULAN_KE = " + sql::number(key.correction) +
      " AND COLLNO = " + sql::number(key.collection) + " AND NOBUKTI = " + sql::text(key.nttp) +
      " AND SEQ = " + sql::number(key.seq) + buyerCondition(key);
  if (exists("SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE " + condition)) {
    execute("DELETE * FROM LAMPIRAN_SSP_PPh22 WHERE " + condition);
  }
  execute("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES (" + sql::text(key.form) + " , " +
          sql::number(key.month) + ", " + sql::number(key.year) + ", " +
          sql::number(key.correction) + ", " + sql::number(key.collection) + ", " +
          sql::number(key.seq) + ", " + sql::text(key.nttp) + ", " + sql::text(datForm) + ")");
}

void ImportList::removeRow(const RowKey& key) {
  const std::string condition =
      "(KD_FORM = " + sql::text(key.form) + ") AND (COLLNO = " + sql::number(key.collection) +
      ") AND (MS_PAJAK = " + sql::number(key.month) + ") AND (TH_PAJAK = " + sql::number(key.year) +
      ") AND (KD_PEMBETULAN_KE = " + sql::number(key.correction) +
      ") AND (NOBUKTI = " + sql::text(key.nttp) + ") AND SEQ = " + sql::number(key.seq) +
      buyerCondition(key) + ")";
  if (exists(" SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE (" + condition)) {
    execute(" DELETE * FROM LAMPIRAN_SSP_PPh22 WHERE (" + condition);
  }
}

// The collection is related to the header by form and period alone: it shows every row of the
// list form, period and correction, whatever its packed text says.
void ImportList::load(const std::string& form, std::int16_t month, std::int16_t year,
                      std::int16_t correction) {
  rs22Hdr(open("SHAPE {SELECT * FROM DAT_SSP_PPh22 WHERE (KD_FORM =" + sql::text(form) +
               " "
               "AND TH_PAJAK = " +
               sql::number(year) + " AND KD_PEMBETULAN_KE = " + sql::number(correction) +
               " "
               "AND MS_PAJAK = " +
               sql::number(month) +
               ")} AS dD113202Hdr "
               "APPEND ({SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE COLLNO = 0 } AS d22Details1 "
               "RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK, TH_PAJAK TO TH_PAJAK, "
               "KD_PEMBETULAN_KE TO KD_PEMBETULAN_KE) AS d22Details1 "));
  loadedForm_ = form;
  auto header = rs22Hdr();
  rs22Form(companion().unpack(form, header));
  RecordsetPtr rows;
  if (!header->EndOfFile()) rows = header->Fields("d22Details1").Value().toRecordset();
  rs22FormColl1(companion().unpack(variant_.rowFields, rows));
}

void ImportList::loadHeader(const std::string& npwp, const std::string& form, std::int16_t month,
                            std::int16_t year, std::int16_t correction) {
  rs22Hdr(open("SELECT * FROM DAT_SSP_PPh22 WHERE (NPWP = " + sql::text(npwp) +
               " AND KD_FORM =" + sql::text(form) + " AND TH_PAJAK = " + sql::number(year) +
               " AND KD_PEMBETULAN_KE = " + sql::number(correction) +
               " AND MS_PAJAK = " + sql::number(month) + ")"));
  loadedForm_ = form;
  rs22Form(companion().unpack(form, rs22Hdr()));
}

// A header written by the start of a period may lack a total (an empty field): it counts as 0.
void ImportList::moveTotals(std::span<const double> amounts) {
  const bool up = adding() || editing();
  const bool down = deleting();
  for (std::size_t i = 0; i < variant_.totals.size() && i < amounts.size(); ++i) {
    auto total = formField(variant_.totals[i].headerField);
    if (up) {
      total.Value(numeric(total.Value()) + amounts[i]);
    } else if (down) {
      total.Value(numeric(total.Value()) - amounts[i]);
    }
  }
}

void ImportList::pPPhFinal(std::int16_t& nrec) {
  reported([&] {
    auto rows = required(rs22FormColl1(), "the collection");
    nrec = 0;
    if (rows->RecordCount() == 0) return;
    std::vector<double> sums(variant_.totals.size(), 0.0);
    rows->MoveFirst();
    while (!rows->EndOfFile()) {
      for (std::size_t i = 0; i < sums.size(); ++i) {
        const auto value = rows->Fields(variant_.totals[i].rowField).Value();
        if (!value.isNull()) sums[i] += value.toDouble();
      }
      nrec = static_cast<std::int16_t>(nrec + 1);
      rows->MoveNext();
    }
    for (std::size_t i = 0; i < sums.size(); ++i) {
      formField(variant_.totals[i].headerField).Value(sums[i]);
    }
  });
}

void ImportList::pUpdate() {
  reported([&] {
    auto profile = open("SELECT NPWP FROM DAT_PROFILE");
    const std::string npwp =
        profile->EndOfFile() ? std::string() : profile->Fields("NPWP").Value().text();
    const auto month = formField("MS_PAJAK").Value().toInt16();
    const auto year = formField("TH_PAJAK").Value().toInt16();
    const auto correction = formField("KD_PEMBETULAN_KE").Value().toInt16();
    const auto form = loadedForm_.empty() ? std::string(variant_.fixedForm) : loadedForm_;
    const auto datForm = companion().pack(rs22Form());

    auto header = open("SELECT * FROM DAT_SSP_PPh22 WHERE (KD_FORM =" + sql::text(form) +
                       " AND TH_PAJAK = " + sql::number(year) + " AND KD_PEMBETULAN_KE = " +
                       sql::number(correction) + " AND MS_PAJAK = " + sql::number(month) + ")");
    if (!header->EndOfFile()) {
      header->Fields("DAT_FORM").Value(datForm);
      header->UpdateBatch();
      return;
    }
    // A header that is not there yet is written only when the list is adding.
    if (!adding()) return;
    const auto today = Date::today().text();
    header->AddNew();
    header->Fields("NPWP").Value(npwp);
    header->Fields("KD_FORM").Value(form);
    header->Fields("JENIS_DOKUMEN").Value(listDocumentKind(form));
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

namespace {

constexpr ListTotal kImportTotals[] = {{"JmlPPh", "PPH"}};
constexpr ListTotal kSelfPaidTotals[] = {{"JMLPHSL", "PHSL"}, {"JmlPPh", "PPH"}};

constexpr ImportListVariant kImportList{"", "D113203-Coll", kImportTotals, true};
constexpr ImportListVariant kSelfPaidList{"DImporDbyrSdr", "DImporDbyrSdr-Coll", kSelfPaidTotals,
                                          false};

// What CD113203's header INSERT has always written as the form: its form value is the fixed
// piece ' & sKdForm &  ' where the caller's form code was meant. Kept exactly as it is: the
// header it writes carries this text in KD_FORM and pCheckHdr, looking for the form code, never
// finds it. The periods' real headers come from the main return's creation and from pUpdate.
constexpr std::string_view kImportHeaderFormAsWritten = " & sKdForm &  ";

}  // namespace
}  // namespace ssp

// ---- CD113203 ----------------------------------------------------------------------------------

CD113203::CD113203() : ImportList(ssp::kImportList) {}

void CD113203::pCheckHdr(const std::string& sNPWP, std::int16_t iMsPjk, std::int16_t iThPjk,
                         std::int16_t iCorrSeq, const std::string& sKdForm, bool& exists) {
  reported([&] { exists = headerExists(sNPWP, iMsPjk, iThPjk, iCorrSeq, sKdForm); });
}

void CD113203::pCreateHdrInduk(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                               const std::string& sNPWP, const std::string& sAlamat,
                               const std::string& sNmWP, const Date& dTgl_Rekam,
                               const std::string& /*sKdForm*/, const std::string& sJnsDok) {
  reported([&] {
    insertHeader(std::string(ssp::kImportHeaderFormAsWritten), "D113203", sJnsDok, iMsPjk, iThPjk,
                 iCorrSeq, sNPWP, sAlamat, sNmWP, dTgl_Rekam);
  });
}

void CD113203::pCreateD113203Hdr(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                                 std::int16_t iCollNo, const std::string& sNoBukti,
                                 const std::string& sNPWPLT, const std::string& sAlmLT,
                                 const std::string& sNmWPLT, const std::string& sKet,
                                 double dJmlPjk, double dSeq, const std::string& sKdForm) {
  reported([&] {
    const RowKey key{sKdForm,  iMsPjk, iThPjk,  iCorrSeq, iCollNo,
                     sNoBukti, dSeq,   sNPWPLT, sNmWPLT,  sAlmLT};
    replaceRow(key, ssp::packByName("D113203-Coll", {{"MS_PAJAK", iMsPjk},
                                                     {"TH_PAJAK", iThPjk},
                                                     {"SEQ", dSeq},
                                                     {"NPWPLT", sNPWPLT},
                                                     {"NMWPLT", sNmWPLT},
                                                     {"ALMLT", sAlmLT},
                                                     {"NTTP", sNoBukti},
                                                     {"KETERANGAN", sKet},
                                                     {"PPH", dJmlPjk}}));
  });
}

void CD113203::pGetD113203(const std::string& /*sNPWP*/, std::int16_t bulan, std::int16_t tahun,
                           std::int16_t Pembetulan, const std::string& sKdForm) {
  reported([&] { load(listForm(sKdForm), bulan, tahun, Pembetulan); });
}

void CD113203::pGetD113203Induk(const std::string& sNPWP, std::int16_t bulan, std::int16_t tahun,
                                std::int16_t Pembetulan, const std::string& sKdForm) {
  reported([&] { loadHeader(sNPWP, listForm(sKdForm), bulan, tahun, Pembetulan); });
}

void CD113203::pDeleteD113203Coll(const std::string& snmForm, std::int16_t iMsPjk,
                                  std::int16_t iThPjk, std::int16_t iCorrSeq,
                                  const std::string& sNoBukti, std::int16_t iCollNo, double dSeq,
                                  const std::string& sNPWPLT, const std::string& sNmLT,
                                  const std::string& sAlmLT) {
  reported([&] {
    removeRow({listForm(snmForm), iMsPjk, iThPjk, iCorrSeq, iCollNo, sNoBukti, dSeq, sNPWPLT, sNmLT,
               sAlmLT});
  });
}

void CD113203::pJmlPajak(double jPPh) {
  reported([&] {
    const double amounts[] = {jPPh};
    moveTotals(amounts);
  });
}

// ---- CDPPh22DbyrSdr ----------------------------------------------------------------------------

CDPPh22DbyrSdr::CDPPh22DbyrSdr() : ImportList(ssp::kSelfPaidList) {}

void CDPPh22DbyrSdr::pCheckHdr(const std::string& sNPWP, std::int16_t iMsPjk, std::int16_t iThPjk,
                               std::int16_t iCorrSeq, bool& exists) {
  reported([&] { exists = headerExists(sNPWP, iMsPjk, iThPjk, iCorrSeq, "DImporDbyrSdr"); });
}

void CDPPh22DbyrSdr::pCreateHdrInduk(std::int16_t iMsPjk, std::int16_t iThPjk,
                                     std::int16_t iCorrSeq, const std::string& sNPWP,
                                     const std::string& sAlamat, const std::string& sNmWP,
                                     const Date& dTgl_Rekam) {
  reported([&] {
    insertHeader("DImporDbyrSdr", "DImporDbyrSdr", "12", iMsPjk, iThPjk, iCorrSeq, sNPWP, sAlamat,
                 sNmWP, dTgl_Rekam);
  });
}

void CDPPh22DbyrSdr::pCreateD113203Hdr(std::int16_t iMsPjk, std::int16_t iThPjk,
                                       std::int16_t iCorrSeq, std::int16_t iCollNo,
                                       const std::string& sNoBukti, const Variant& dtBayarSSP,
                                       const std::string& sNoPIB, double dPhsl, double dJmlPjk,
                                       double dSeq) {
  reported([&] {
    RowKey key;
    key.form = "DImporDbyrSdr";
    key.month = iMsPjk;
    key.year = iThPjk;
    key.correction = iCorrSeq;
    key.collection = iCollNo;
    key.nttp = sNoBukti;
    key.seq = dSeq;
    replaceRow(key, ssp::packByName("DImporDbyrSdr-Coll", {{"MS_PAJAK", iMsPjk},
                                                           {"TH_PAJAK", iThPjk},
                                                           {"SEQ", dSeq},
                                                           {"NTTP", sNoBukti},
                                                           {"TGL_BAYAR", dtBayarSSP},
                                                           {"NoPIB", sNoPIB},
                                                           {"PHSL", dPhsl},
                                                           {"PPH", dJmlPjk}}));
  });
}

void CDPPh22DbyrSdr::pGetD113203(const std::string& /*sNPWP*/, std::int16_t bulan,
                                 std::int16_t tahun, std::int16_t Pembetulan) {
  reported([&] { load("DImporDbyrSdr", bulan, tahun, Pembetulan); });
}

void CDPPh22DbyrSdr::pGetD113203Induk(const std::string& sNPWP, std::int16_t bulan,
                                      std::int16_t tahun, std::int16_t Pembetulan) {
  reported([&] { loadHeader(sNPWP, "DImporDbyrSdr", bulan, tahun, Pembetulan); });
}

void CDPPh22DbyrSdr::pDeleteD113203Coll(const std::string& snmForm, std::int16_t iMsPjk,
                                        std::int16_t iThPjk, std::int16_t iCorrSeq,
                                        const std::string& sNoBukti, std::int16_t iCollNo,
                                        double dSeq) {
  reported([&] {
    RowKey key;
    key.form = listForm(snmForm);
    key.month = iMsPjk;
    key.year = iThPjk;
    key.correction = iCorrSeq;
    key.collection = iCollNo;
    key.nttp = sNoBukti;
    key.seq = dSeq;
    removeRow(key);
  });
}

void CDPPh22DbyrSdr::pJmlPajak(double jPhsl, double jPPh) {
  reported([&] {
    const double amounts[] = {jPhsl, jPPh};
    moveTotals(amounts);
  });
}

}  // namespace korvane
