// Period-level services of CGeneralClass: what a period holds, its highest correction, deleting
// a whole return of one tax type, and the lookups around slips and partners.
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "korvane/store/error.hpp"
#include "korvane/store/general_class.hpp"
#include "korvane/store/recordset.hpp"
#include "korvane/store/sql.hpp"

namespace korvane {
namespace {

using Codes = std::span<const std::string_view>;

// A return as the caller names it (sJnsSpt): which header rows belong to it, which attachment
// and SSP-list rows go with them, and how its payments are found in the tax office's records.
struct TaxTypeGroup {
  std::string_view code;
  Codes headerKinds;      // KD_JENIS_PAJAK values of its header rows
  Codes attachmentForms;  // DS_FORM_LAMPIRAN
  Codes sspListForms;     // LAMPIRAN_SSP_PPh22; none: the SSP tables are left alone
  std::int16_t article;
  std::string_view paymentCondition;  // DATSSP lookup, after the article
};

// "117" belongs to both the article-21 and the article-23 return.
constexpr std::string_view kKinds111[] = {"111", "117"};
constexpr std::string_view kKinds112[] = {"112"};
constexpr std::string_view kKinds113[] = {"113"};
constexpr std::string_view kKinds114[] = {"114", "117"};
constexpr std::string_view kKinds118[] = {"118"};

constexpr std::string_view kAttachments111[] = {"D113201"};
constexpr std::string_view kAttachments112[] = {"D113204"};
constexpr std::string_view kAttachments113[] = {"D113206", "D113207", "D113208"};
constexpr std::string_view kAttachments114[] = {"D113205"};
constexpr std::string_view kAttachments118[] = {"D113209", "DWklDagang"};

// D113203DN is not named: its list rows outlive the deletion of an article-22 period.
constexpr std::string_view kSspLists112[] = {"D113202", "D113203", "DImporDbyrSdr"};
constexpr std::string_view kSspLists113[] = {"DSewaTnhBgn", "DJasaKonstruksi"};
constexpr std::string_view kSspLists118[] = {"DImblnPelPenLN", "DWklDagang"};

constexpr TaxTypeGroup kGroups[] = {
    {"111",
     kKinds111,
     kAttachments111,
     {},
     21,
     " AND KdMAP IN ( '0111', '0117', '0171', '0172', '0173')"},
    {"112", kKinds112, kAttachments112, kSspLists112, 22,
     " AND KdMAP IN ( '0112', '0113', '0119', '0121', '0122', '0128', '0129', '0171', '0172', "
     "'0173')"},
    {"113", kKinds113, kAttachments113, kSspLists113, 4,
     " AND KdMAP IN ( '0118', '0171', '0172', '0173') AND KdJnsStr IN ( '100', '199', '300', "
     "'310', '312', '320', '322', '401', '402', '403', '404', '405', '406', '407', '408', '409', "
     "'416')"},
    {"114",
     kKinds114,
     kAttachments114,
     {},
     23,
     " AND KdMAP IN ( '0114', '0117', '0171', '0172', '0173')"},
    {"118", kKinds118, kAttachments118, kSspLists118, 15,
     " AND KdMAP IN ( '0118', '0171', '0172', '0173') AND KdJnsStr IN ( '100', '199', '300', "
     "'311', '312', '321', '322', '410', '411', '412', '413', '414', '415', '416')"},
};

// Any other code selects its own headers and nothing else.
TaxTypeGroup groupOf(const std::string& sJnsSpt) {
  for (const auto& group : kGroups) {
    if (group.code == sJnsSpt) return group;
  }
  return {sJnsSpt, {}, {}, {}, 0, {}};
}

// "(KD_JENIS_PAJAK = '111' OR KD_JENIS_PAJAK = '117')", each column under the given prefix.
std::string kindCondition(const TaxTypeGroup& group, std::string_view prefix) {
  const Codes kinds = group.headerKinds.empty() ? Codes(&group.code, 1) : group.headerKinds;
  std::string out = "(";
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    if (i > 0) out += " OR ";
    out += std::string(prefix) + "KD_JENIS_PAJAK = " + sql::text(kinds[i]);
  }
  return out + ")";
}

// " AND (KD_FORM = 'D113206' OR KD_FORM = 'D113207')".
std::string formCondition(Codes forms) {
  std::string out = " AND (";
  for (std::size_t i = 0; i < forms.size(); ++i) {
    if (i > 0) out += " OR ";
    out += "KD_FORM = " + sql::text(forms[i]);
  }
  return out + ")";
}

std::string periodWithoutTaxpayer(std::int16_t month, std::int16_t year, std::int16_t correction) {
  return " WHERE MS_PAJAK = " + sql::number(month) + " AND TH_PAJAK = " + sql::number(year) +
         " AND KD_PEMBETULAN_KE = " + sql::number(correction);
}

}  // namespace

RecordsetPtr CGeneralClass::rsListJasa(std::int16_t iPasal) {
  return silent(RecordsetPtr(), [&] {
    return open("SELECT * FROM REF_JASA_PMK244 WHERE PASAL = " + sql::number(iPasal) +
                " ORDER BY KODE_KOMODITI ASC");
  });
}

// Each listed form carries the description of its document kind; a form whose kind the
// reference table lacks is not listed.
RecordsetPtr CGeneralClass::aGetList(const std::string& sNPWP, const std::string& sJnsSpt,
                                     std::int16_t iMsPjk, std::int16_t iThPjk,
                                     std::int16_t iKdPembtln) {
  return reported(RecordsetPtr(), [&] {
    return open(
        "SELECT DISTINCT DS_FORM_INDUK.MS_PAJAK, DS_FORM_INDUK.TH_PAJAK, "
        "DS_FORM_INDUK.KD_PEMBETULAN_KE, DS_REF_JENIS_PAJAK.URAIAN, "
        "DS_FORM_INDUK.KD_FORM, DS_FORM_INDUK.JENIS_DOKUMEN, DS_FORM_INDUK.NOBUKTI "
        "FROM DS_FORM_INDUK INNER JOIN DS_REF_JENIS_PAJAK ON "
        "(DS_FORM_INDUK.KD_JENIS_PAJAK = DS_REF_JENIS_PAJAK.KD_JENIS_PAJAK) AND "
        "(DS_FORM_INDUK.JENIS_DOKUMEN = DS_REF_JENIS_PAJAK.KD_DOK_SPT) WHERE " +
        kindCondition(groupOf(sJnsSpt), "DS_FORM_INDUK.") + " AND DS_FORM_INDUK.NPWP = " +
        sql::text(sNPWP) + " AND DS_FORM_INDUK.TH_PAJAK = " + sql::number(iThPjk) +
        " AND DS_FORM_INDUK.KD_PEMBETULAN_KE = " + sql::number(iKdPembtln) +
        " AND DS_FORM_INDUK.MS_PAJAK = " + sql::number(iMsPjk) +
        " ORDER BY DS_FORM_INDUK.KD_FORM ASC, DS_FORM_INDUK.JENIS_DOKUMEN ASC, "
        "DS_FORM_INDUK.NOBUKTI ASC");
  });
}

// -1 tells "no such form in the period" apart from the failure default 0. The tax type is taken
// as given: "111" does not reach the "117" rows here.
std::int16_t CGeneralClass::aMaxKdPembetulan(const std::string& sNPWP, const std::string& sJnsSpt,
                                             std::int16_t iMsPjk, const std::string& sKdForm,
                                             std::int16_t iThPjk) {
  return reported(std::int16_t{0}, [&] {
    auto rs =
        open("SELECT MAX(KD_PEMBETULAN_KE) AS iMaxKdPmb FROM DS_FORM_INDUK WHERE NPWP = " +
             sql::text(sNPWP) + " AND KD_JENIS_PAJAK = " + sql::text(sJnsSpt) +
             " AND MS_PAJAK = " + sql::number(iMsPjk) + " AND TH_PAJAK = " + sql::number(iThPjk) +
             " AND KD_FORM = " + sql::text(sKdForm));
    if (rs->EndOfFile()) return std::int16_t{-1};
    auto maximum = rs->Fields("iMaxKdPmb").Value();
    return maximum.isNull() ? std::int16_t{-1} : maximum.toInt16();
  });
}

// A period without a header of the group is left alone entirely, orphaned attachment rows
// included. Attachment rows carry no taxpayer number, so theirs go for every taxpayer. The
// statements run one after another; a failure leaves what the earlier ones did.
void CGeneralClass::pDelete(const std::string& sNPWP, const std::string& sJnsSpt,
                            std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iKdPembtln) {
  reported([&] {
    if (!pCheckExist(sNPWP, sJnsSpt, iMsPjk, iThPjk, iKdPembtln)) return;
    const auto group = groupOf(sJnsSpt);
    const std::string headers =
        " WHERE " + kindCondition(group, "") + " AND NPWP = " + sql::text(sNPWP) +
        " AND MS_PAJAK = " + sql::number(iMsPjk) + " AND TH_PAJAK = " + sql::number(iThPjk) +
        " AND KD_PEMBETULAN_KE = " + sql::number(iKdPembtln);
    const std::string attachments = periodWithoutTaxpayer(iMsPjk, iThPjk, iKdPembtln);

    execute("DELETE * FROM DS_FORM_INDUK" + headers);
    if (!group.attachmentForms.empty()) {
      execute("DELETE * FROM DS_FORM_LAMPIRAN" + attachments +
              formCondition(group.attachmentForms));
    }
    if (!group.sspListForms.empty()) {
      execute("DELETE * FROM DAT_SSP_PPh22" + headers);
      execute("DELETE * FROM LAMPIRAN_SSP_PPh22 " + attachments +
              formCondition(group.sspListForms));
    }
  });
}

// Only article-22 slips are looked up, by number alone within the period (neither the taxpayer
// nor F113305 takes part). A number that two slips share answers nothing.
std::string CGeneralClass::pGetKdForm(const std::string& /*sNPWP*/, const std::string& strBukti,
                                      std::int16_t iMsPjk, std::int16_t iThPjk,
                                      std::int16_t iKdPembtln, std::int16_t iKdPasal) {
  return reported(std::string(), [&] {
    if (iKdPasal != 22) return std::string();
    auto rs =
        open("SELECT * FROM DS_FORM_INDUK WHERE  NOBUKTI = " + sql::text(strBukti) +
             " AND MS_PAJAK = " + sql::number(iMsPjk) + " AND TH_PAJAK = " + sql::number(iThPjk) +
             " AND KD_PEMBETULAN_KE = " + sql::number(iKdPembtln) +
             " AND KD_FORM IN ('F113303', 'F113304','F113304S','F113304A')");
    if (rs->EndOfFile() || rs->RecordCount() >= 2) return std::string();
    return rs->Fields("KD_FORM").Value().text();
  });
}

RecordsetPtr CGeneralClass::pCheckNPWP(const std::string& strNPWP) {
  return reported(RecordsetPtr(), [&] {
    return open(
        "SELECT NPWP_PARTNER, NAMA_PARTNER,ALAMAT_PARTNER FROM DAT_PARTNER WHERE"
        " NPWP_PARTNER = " +
        sql::text(strNPWP));
  });
}

// Runs inside pDelete's frame: a failure here ends the deletion before anything is removed.
bool CGeneralClass::pCheckExist(const std::string& sNPWP, const std::string& sJnsSpt,
                                std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iKdPembtln) {
  return exists("SELECT * FROM DS_FORM_INDUK WHERE " + kindCondition(groupOf(sJnsSpt), "") +
                " AND NPWP = " + sql::text(sNPWP) + " AND TH_PAJAK = " + sql::number(iThPjk) +
                " AND KD_PEMBETULAN_KE = " + sql::number(iKdPembtln) +
                " AND MS_PAJAK = " + sql::number(iMsPjk));
}

// The payments of a period as the tax office's records hold them; the month is written "MMYYYY".
RecordsetPtr CGeneralClass::pGetSSPList(const std::string& sNPWP, const std::string& sJnsSpt,
                                        std::int16_t iMsPjk, std::int16_t iThPjk) {
  return reported(RecordsetPtr(), [&] {
    const auto group = groupOf(sJnsSpt);
    const std::string month = sql::number(iMsPjk);
    const std::string period = (month.size() == 1 ? "0" + month : month) + sql::number(iThPjk);
    return open("SELECT * FROM DATSSP WHERE NPWP = " + sql::text(sNPWP) + " AND MsPjk = " +
                sql::text(period) + " AND KODEPASAL = " + sql::number(group.article) +
                std::string(group.paymentCondition) + " ORDER BY TglSSP ASC");
  });
}

RecordsetPtr CGeneralClass::pGetPBKList(const std::string& sNPWP, const std::string& sJnsSpt,
                                        std::int16_t iMsPjk, std::int16_t iThPjk) {
  return reported(RecordsetPtr(), [&] {
    return open("SELECT * FROM datPBKPPhMasa WHERE NPWPTertuju = " + sql::text(sNPWP) +
                " AND PASAL = " + sql::number(groupOf(sJnsSpt).article) + " AND MsPjkPBK = " +
                sql::number(iMsPjk) + " AND ThPjkPBK = " + sql::number(iThPjk));
  });
}

}  // namespace korvane
