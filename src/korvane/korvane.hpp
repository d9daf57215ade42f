// Everything a host needs: values, recordsets, the frame, every public class and the registry.
#pragma once

#include "korvane/store/business_object.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/general_class.hpp"
#include "korvane/store/message_box.hpp"
#include "korvane/store/recordset.hpp"
#include "korvane/store/store.hpp"
#include "korvane/store/trace.hpp"
#include "korvane/store/variant.hpp"
#include "korvane/exchange/export.hpp"
#include "korvane/forms/main/main_return.hpp"
#include "korvane/forms/slips/f113303.hpp"
#include "korvane/forms/slips/slip_list.hpp"
#include "korvane/forms/ssp/oil_gas_input.hpp"
#include "korvane/forms/ssp/oil_gas_list.hpp"
#include "korvane/host/registry.hpp"
