// CImporBP: the inverse of the export. It reads a file in the export's layout (import_file.hpp)
// and enters every line through the objects a host uses (slip classes, SSP inputs), so that
// numbering, the slip list, the SSP lists and the main return follow as for manual entry: what
// one store exports, another store with the same taxpayer profile imports, byte for byte.
//
// - pImporPPh(sNPWP, iKodePasal, strFileName, strJenisWP): strFileName is the file's own path;
//   strJenisWP as in the export. Articles other than 22 are refused. Result: KD_FORM, JUMLAH,
//   one row per form imported, in the export's order; nullptr on failure. Success ends with an
//   "INFORMASI" box counting the lines the export's way.
// - The whole file is checked before anything is written; every bad line is named with its
//   column in one message. Beyond the reader's checks: DAT_PROFILE's first row (the taxpayer the
//   SSP classes read) is sNPWP's; a slip has a number, an SSP an NTTP, oil and gas a commodity;
//   a slip number taken in its tax year and correction by a form of its sequence (the slip
//   classes' rule), an NTTP taken by its kind of SSP in the period, in the store or on an
//   earlier line; a slip total its lines do not give to the rupiah (what the file cannot carry
//   is refused, not cut); slips for a non-collector; a non-collector's SSP naming another
//   taxpayer. Each line carries its own period.
// - Writing: each period's skeleton (pCreateF113202Hdr, the profile's name and address); the
//   commodities the store lacks (next code, TARIF_NETTO 0: the file's tax is entered as it is;
//   a known name, in any case, takes the store's spelling); then the lines in file order, each
//   recording a collected party DAT_PARTNER lacks (by NPWP; parties without one by name too).
// - Entry: slip numbers as given (the slip's pUpdate records them). F113303: base and rate
//   through the setters, then the file's taxes, so they win. A sector line with a multiplier or
//   a base: base and rate through the setters (tax and multiplier follow NPWPLT); any other
//   line keeps only the file's rate, written as getTaxRate writes rates. Oil and gas: commodity
//   and gross through the setters, then the file's tax. An import SSP's gross and tax go to its
//   line 1 (A13, A14). SSP sequences continue each list's pGetMaxSeqNo, counted in memory. A
//   collector's SSP columns 5-7 are the buyer; a non-collector's his own identity.
// - Not in the file, so lost: slips' INVOICE, F113303's triples, sector lines 8 to 11 and typed
//   taxes (refused by the total check), an import SSP's line 2 as such, a non-collector's buyer.
// - Writing is one transaction: a failure while writing gives one message naming the line and
//   nullptr, and nothing of the file stays written. Other connections see the lines at the end.
// - onProgress: the host's callback, told (done, total) before the first line and after each.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "korvane/store/business_object.hpp"

namespace korvane {

class CImporBP : public BusinessObject {
 public:
  using ProgressHandler = std::function<void(long done, long total)>;

  CImporBP() = default;
  const char* className() const noexcept override { return "CImporBP"; }

  RecordsetPtr pImporPPh(const std::string& sNPWP, std::int16_t iKodePasal,
                         const std::string& strFileName, const std::string& strJenisWP);

  // Replaces the progress callback (an empty one removes it). A failure inside it is the host's
  // own and does not stop the import.
  void onProgress(ProgressHandler handler);

 private:
  // Calls the host's callback as the host's own code: it may use the component again.
  void tellProgress(long done, long total);

  ProgressHandler progress_;
};

}  // namespace korvane
