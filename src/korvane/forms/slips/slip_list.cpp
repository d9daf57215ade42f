#include "korvane/forms/slips/slip_list.hpp"

#include "korvane/store/sql.hpp"

namespace korvane::slips {
namespace {

constexpr const char* kListForm = "D113204";
constexpr const char* kLineForm = "D113204-Coll";

std::string headerQuery(std::int16_t month, std::int16_t year, std::int16_t correction) {
  return "SELECT * FROM DS_FORM_INDUK WHERE (KD_FORM = 'D113204' AND TH_PAJAK = " +
         sql::number(year) + " AND KD_PEMBETULAN_KE = " + sql::number(correction) +
         " AND MS_PAJAK = " + sql::number(month) + ")";
}

std::string lineKey(std::int16_t month, std::int16_t year, std::int16_t correction,
                    const std::string& number, std::int16_t collection) {
  return " WHERE KD_FORM = 'D113204' AND COLLNO = " + sql::number(collection) +
         " AND MS_PAJAK = " + sql::number(month) + " AND TH_PAJAK = " + sql::number(year) +
         " AND KD_PEMBETULAN_KE = " + sql::number(correction) +
         " AND NOBUKTI = " + sql::text(number);
}

// Null in a total is a failure (Invalid use of Null) rather than a silent zero.
double total(const RecordsetPtr& form, const char* name) {
  return form->Fields(name).Value().toDouble();
}

}  // namespace

// SEQ is taken over the month and year only, so every correction of a period continues one
// run of line numbers.
void SlipList::pCreateD113204Br([[maybe_unused]] const std::string& sNPWP, std::int16_t iMsPjk,
                                std::int16_t iThPjk, std::int16_t iCorrSeq,
                                const std::string& datForm1, const std::string& datForm2,
                                const std::string& NoBukti) {
  reported([&] {
    auto highest = open(
        "SELECT MAX(SEQ) AS MaxSeq FROM DS_FORM_LAMPIRAN WHERE KD_FORM = 'D113204' AND "
        "MS_PAJAK = " +
        sql::number(iMsPjk) + " AND TH_PAJAK = " + sql::number(iThPjk));
    double seq = 1;
    if (!highest->EndOfFile()) {
      const Variant last = highest->Fields("MaxSeq").Value();
      if (!last.isNull()) seq = last.toDouble() + 1;
    }
    const std::string sequence = sql::number(seq);
    execute("INSERT INTO DS_FORM_LAMPIRAN VALUES ('D113204', " + sql::number(iMsPjk) + ", " +
            sql::number(iThPjk) + ", " + sql::number(iCorrSeq) + ", 0, " + sequence + ", " +
            sql::text(NoBukti) + ", " + sql::text(datForm1 + ";" + sequence + ";" + datForm2) +
            ")");
  });
}

void SlipList::pGetD113204([[maybe_unused]] const std::string& sNPWP, std::int16_t bulan,
                           std::int16_t tahun, std::int16_t Pembetulan) {
  reported([&] {
    auto hierarchy = open("SHAPE {" + headerQuery(bulan, tahun, Pembetulan) +
                          "} AS dD113204Hdr APPEND ({SELECT * FROM DS_FORM_LAMPIRAN WHERE "
                          "COLLNO = 0 AND MS_PAJAK = " +
                          sql::number(bulan) + " AND TH_PAJAK = " + sql::number(tahun) +
                          " AND KD_PEMBETULAN_KE = " + sql::number(Pembetulan) +
                          "} AS d22Details1 RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK, "
                          "TH_PAJAK TO TH_PAJAK) AS d22Details1");
    rs22Hdr(hierarchy);
    rs22Form(companion().unpack(kListForm, hierarchy));
    RecordsetPtr lines;
    if (!hierarchy->BOF() && !hierarchy->EndOfFile()) {
      lines = hierarchy->Fields("d22Details1").Value().toRecordset();
    }
    rs22FormColl1(companion().unpack(kLineForm, lines));
  });
}

void SlipList::pGetD113204Induk([[maybe_unused]] const std::string& sNPWP, std::int16_t bulan,
                                std::int16_t tahun, std::int16_t Pembetulan) {
  reported([&] {
    auto header = open(headerQuery(bulan, tahun, Pembetulan));
    rs22Hdr(header);
    rs22Form(companion().unpack(kListForm, header));
  });
}

RecordsetPtr SlipList::pGetBukti(const std::string& sNPWP, const std::string& NoBukti,
                                 std::int16_t iMsPjk, std::int16_t iThPjk,
                                 std::int16_t Pembetulan) {
  return reported(RecordsetPtr(), [&] {
    return open("SELECT * FROM DS_FORM_INDUK WHERE NPWP = " + sql::text(sNPWP) +
                " AND NOBUKTI = " + sql::text(NoBukti) + " AND TH_PAJAK = " + sql::number(iThPjk) +
                " AND KD_PEMBETULAN_KE = " + sql::number(Pembetulan) +
                " AND MS_PAJAK = " + sql::number(iMsPjk));
  });
}

void SlipList::pGetBuktiLampiran(const std::string& NoBukti, std::int16_t Pembetulan) {
  reported([&] {
    auto lines = open("SELECT * FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = " + sql::text(NoBukti) +
                      " AND KD_FORM = 'D113204' AND KD_PEMBETULAN_KE = " + sql::number(Pembetulan));
    rs22FormColl1(companion().unpack(kLineForm, lines));
  });
}

void SlipList::pDeleteD113204Coll([[maybe_unused]] const std::string& snmForm, std::int16_t iMsPjk,
                                  std::int16_t iThPjk, std::int16_t iCorrSeq,
                                  const std::string& sNoBukti, std::int16_t iCollNo) {
  reported([&] {
    const std::string key = lineKey(iMsPjk, iThPjk, iCorrSeq, sNoBukti, iCollNo);
    if (exists("SELECT * FROM DS_FORM_LAMPIRAN" + key)) {
      execute("DELETE * FROM DS_FORM_LAMPIRAN" + key);
    }
  });
}

void SlipList::pJmlPPh([[maybe_unused]] std::int16_t nrec) {
  reported([&] {
    auto lines = rs22FormColl1();
    double bases = 0;
    double taxes = 0;
    if (lines && lines->RecordCount() > 0) {
      for (lines->MoveFirst(); !lines->EndOfFile(); lines->MoveNext()) {
        const Variant base = lines->Fields("jmlObjPPh22").Value();
        const Variant tax = lines->Fields("PPh22").Value();
        if (!base.isNull() && base.toDouble() >= 0) bases += base.toDouble();
        if (!tax.isNull() && tax.toDouble() >= 0) taxes += tax.toDouble();
      }
      lines->MoveFirst();
    }
    formField("TotObjPPh22").Value(bases);
    formField("TotPPh22").Value(taxes);
  });
}

void SlipList::pHitungPajak(double dJmlPhsl, double dJmlPPh) {
  reported([&] {
    auto form = rs22Form();
    auto bases = formField("TotObjPPh22");
    auto taxes = formField("TotPPh22");
    if (adding() || editing()) {
      bases.Value(total(form, "TotObjPPh22") + dJmlPhsl);
      taxes.Value(total(form, "TotPPh22") + dJmlPPh);
      return;
    }
    bases.Value(total(form, "TotObjPPh22") - dJmlPhsl);
    if (total(form, "TotObjPPh22") < 0) bases.Value(0.0);
    taxes.Value(total(form, "TotPPh22") - dJmlPPh);
    // The second test is of the base total again, never of the tax total: kept as designed.
    if (total(form, "TotObjPPh22") < 0) bases.Value(0.0);
  });
}

// A header added here gets no period columns: hosts begin a period through the main return,
// which writes the list's real header.
void SlipList::pUpdate() {
  reported([&] {
    auto header = open(headerQuery(formField("MS_PAJAK").Value().toInt16(),
                                   formField("TH_PAJAK").Value().toInt16(),
                                   formField("KD_PEMBETULAN_KE").Value().toInt16()));
    const std::string today = Date::today().text();
    if (header->BOF() && header->EndOfFile()) {
      header->AddNew();
      header->Fields("NPWP").Value(formField("npwp").Value());
      header->Fields("KD_FORM").Value(kListForm);
      header->Fields("JENIS_DOKUMEN").Value("09");
      header->Fields("KD_JENIS_PAJAK").Value("112");
      header->Fields("TGL_REKAM").Value(today);
    } else {
      header->Fields("TGL_UBAH").Value(today);
      header->Fields("NIP").Value("");
    }
    header->Fields("DAT_FORM").Value(companion().pack(rs22Form()));
    header->Fields("NOBUKTI").Value("-");
    header->UpdateBatch();
  });
}

Variant SlipList::aNPWP() {
  return reported(Variant(), [&] { return formField("npwp").Value(); });
}

}  // namespace korvane::slips
