#include "core/api/bridge.hpp"
#include "core/audio/wireless.hpp"

#include <ferrowcore/wireless.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* ValueLabelItem_create(void) { return create<ValueLabelItem>(); }
void ValueLabelItem_bindValue(void* handle, void (*callback)(int)) { bind<&ValueLabelItem::Value>(handle, callback); }
void ValueLabelItem_setValue(void* handle, int value) { set<&ValueLabelItem::Value>(handle, value, "ValueLabelItem.Value.set"); }
void ValueLabelItem_bindLabel(void* handle, void (*callback)(const char*)) { bind<&ValueLabelItem::Label>(handle, callback); }
void ValueLabelItem_setLabel(void* handle, const char* value) { setText<&ValueLabelItem::Label>(handle, value, "ValueLabelItem.Label.set"); }

void* calibLine_create(void) { return create<calibLine>(); }
void calibLine_bindinp(void* handle, void (*callback)(double)) { bind<&calibLine::inp>(handle, callback); }
void calibLine_setinp(void* handle, double value) { set<&calibLine::inp>(handle, value, "calibLine.inp.set"); }
void calibLine_bindoutp(void* handle, void (*callback)(double)) { bind<&calibLine::outp>(handle, callback); }
void calibLine_setoutp(void* handle, double value) { set<&calibLine::outp>(handle, value, "calibLine.outp.set"); }

void* Wireless_create(void) { return create<Wireless>(); }
void Wireless_bindDefaultMicEQ(void* handle, ferrow_list_callback callback) { bind<&Wireless::DefaultMicEQ>(handle, callback); }
void Wireless_setDefaultMicEQ(void* handle, int operation, int index, void* item) {
    setList<&Wireless::DefaultMicEQ>(handle, operation, index, item, "Wireless.DefaultMicEQ.set");
}
void Wireless_resetDefaultMicEQ(void* handle) { resetList<&Wireless::DefaultMicEQ>(handle, "Wireless.DefaultMicEQ.reset"); }
void Wireless_bindinputDevices(void* handle, ferrow_list_callback callback) { bind<&Wireless::inputDevices>(handle, callback); }
void Wireless_setinputDevices(void* handle, int operation, int index, void* item) {
    setList<&Wireless::inputDevices>(handle, operation, index, item, "Wireless.inputDevices.set");
}
void Wireless_resetinputDevices(void* handle) { resetList<&Wireless::inputDevices>(handle, "Wireless.inputDevices.reset"); }
void Wireless_bindoutputDevices(void* handle, ferrow_list_callback callback) { bind<&Wireless::outputDevices>(handle, callback); }
void Wireless_setoutputDevices(void* handle, int operation, int index, void* item) {
    setList<&Wireless::outputDevices>(handle, operation, index, item, "Wireless.outputDevices.set");
}
void Wireless_resetoutputDevices(void* handle) { resetList<&Wireless::outputDevices>(handle, "Wireless.outputDevices.reset"); }
void Wireless_bindPlotCplxF(void* handle, void (*callback)(void* complexArray)) { bind<&Wireless::PlotCplxF>(handle, callback); }
void Wireless_Init(void* handle) { post<&Wireless::Init, Wireless>(handle, "Wireless.Init()"); }

} // extern "C"
