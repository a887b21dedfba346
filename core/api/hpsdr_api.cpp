#include "core/api/bridge.hpp"
#include "radios/hpsdr/hpsdr_radio.hpp"
#include "radios/hpsdr/j16.hpp"

#include <ferrowcore/hpsdr.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* J16_create(void) { return create<J16>(); }
void J16_bindmaxfrequency(void* handle, void (*callback)(int)) { bind<&J16::maxfrequency>(handle, callback); }
void J16_setmaxfrequency(void* handle, int value) { set<&J16::maxfrequency>(handle, value, "J16.maxfrequency.set"); }
void J16_bindrx(void* handle, void (*callback)(int)) { bind<&J16::rx>(handle, callback); }
void J16_setrx(void* handle, int value) { set<&J16::rx>(handle, value, "J16.rx.set"); }
void J16_bindtx(void* handle, void (*callback)(int)) { bind<&J16::tx>(handle, callback); }
void J16_settx(void* handle, int value) { set<&J16::tx>(handle, value, "J16.tx.set"); }

void* J16FilterBands_create(void) { return create<J16FilterBands>(); }
void J16FilterBands_bindmaxfrequency(void* handle, void (*callback)(int)) { bind<&J16FilterBands::maxfrequency>(handle, callback); }
void J16FilterBands_setmaxfrequency(void* handle, int value) { set<&J16FilterBands::maxfrequency>(handle, value, "J16FilterBands.maxfrequency.set"); }
void J16FilterBands_bindtx(void* handle, void (*callback)(int)) { bind<&J16FilterBands::tx>(handle, callback); }
void J16FilterBands_settx(void* handle, int value) { set<&J16FilterBands::tx>(handle, value, "J16FilterBands.tx.set"); }

void* J16FilterRx_create(void) { return create<J16FilterRx>(); }
void J16FilterRx_bindbands(void* handle, void (*callback)(int)) { bind<&J16FilterRx::bands>(handle, callback); }
void J16FilterRx_setbands(void* handle, int value) { set<&J16FilterRx::bands>(handle, value, "J16FilterRx.bands.set"); }
void J16FilterRx_bindrx(void* handle, void (*callback)(int)) { bind<&J16FilterRx::rx>(handle, callback); }
void J16FilterRx_setrx(void* handle, int value) { set<&J16FilterRx::rx>(handle, value, "J16FilterRx.rx.set"); }

void* J16Filter_create(void) { return create<J16Filter>(); }
void J16Filter_bindFilterBands(void* handle, ferrow_list_callback callback) { bind<&J16Filter::FilterBands>(handle, callback); }
void J16Filter_setFilterBands(void* handle, int operation, int index, void* item) {
    setList<&J16Filter::FilterBands>(handle, operation, index, item, "J16Filter.FilterBands.set");
}
void J16Filter_resetFilterBands(void* handle) { resetList<&J16Filter::FilterBands>(handle, "J16Filter.FilterBands.reset"); }
void J16Filter_bindFilterRx(void* handle, ferrow_list_callback callback) { bind<&J16Filter::FilterRx>(handle, callback); }
void J16Filter_setFilterRx(void* handle, int operation, int index, void* item) {
    setList<&J16Filter::FilterRx>(handle, operation, index, item, "J16Filter.FilterRx.set");
}
void J16Filter_resetFilterRx(void* handle) { resetList<&J16Filter::FilterRx>(handle, "J16Filter.FilterRx.reset"); }

void* HpsdrRadio_create(void) { return create<HpsdrRadio>(); }
void HpsdrRadio_bindFwVersion(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::FwVersion>(handle, callback); }
void HpsdrRadio_setFwVersion(void* handle, int value) { set<&HpsdrRadio::FwVersion>(handle, value, "HpsdrRadio.FwVersion.set"); }
void HpsdrRadio_bindMercurySerial(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::MercurySerial>(handle, callback); }
void HpsdrRadio_setMercurySerial(void* handle, int value) { set<&HpsdrRadio::MercurySerial>(handle, value, "HpsdrRadio.MercurySerial.set"); }
void HpsdrRadio_bindMinTxBufferLevel(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::MinTxBufferLevel>(handle, callback); }
void HpsdrRadio_setMinTxBufferLevel(void* handle, int value) { set<&HpsdrRadio::MinTxBufferLevel>(handle, value, "HpsdrRadio.MinTxBufferLevel.set"); }
void HpsdrRadio_bindPTTHangTime(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::PTTHangTime>(handle, callback); }
void HpsdrRadio_setPTTHangTime(void* handle, int value) { set<&HpsdrRadio::PTTHangTime>(handle, value, "HpsdrRadio.PTTHangTime.set"); }
void HpsdrRadio_bindPenelopeSerial(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::PenelopeSerial>(handle, callback); }
void HpsdrRadio_setPenelopeSerial(void* handle, int value) { set<&HpsdrRadio::PenelopeSerial>(handle, value, "HpsdrRadio.PenelopeSerial.set"); }
void HpsdrRadio_bindTXBufferLatency(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::TXBufferLatency>(handle, callback); }
void HpsdrRadio_setTXBufferLatency(void* handle, int value) { set<&HpsdrRadio::TXBufferLatency>(handle, value, "HpsdrRadio.TXBufferLatency.set"); }
void HpsdrRadio_bindTxBufferOverflow(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::TxBufferOverflow>(handle, callback); }
void HpsdrRadio_setTxBufferOverflow(void* handle, int value) { set<&HpsdrRadio::TxBufferOverflow>(handle, value, "HpsdrRadio.TxBufferOverflow.set"); }
void HpsdrRadio_bindTxBufferUnderflow(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::TxBufferUnderflow>(handle, callback); }
void HpsdrRadio_setTxBufferUnderflow(void* handle, int value) { set<&HpsdrRadio::TxBufferUnderflow>(handle, value, "HpsdrRadio.TxBufferUnderflow.set"); }
void HpsdrRadio_bindTypeID(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::TypeID>(handle, callback); }
void HpsdrRadio_setTypeID(void* handle, int value) { set<&HpsdrRadio::TypeID>(handle, value, "HpsdrRadio.TypeID.set"); }
void HpsdrRadio_bindclockFrequency(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::clockFrequency>(handle, callback); }
void HpsdrRadio_setclockFrequency(void* handle, int value) { set<&HpsdrRadio::clockFrequency>(handle, value, "HpsdrRadio.clockFrequency.set"); }
void HpsdrRadio_bindep4SeqErrors(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::ep4SeqErrors>(handle, callback); }
void HpsdrRadio_setep4SeqErrors(void* handle, int value) { set<&HpsdrRadio::ep4SeqErrors>(handle, value, "HpsdrRadio.ep4SeqErrors.set"); }
void HpsdrRadio_bindep6SeqErrors(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::ep6SeqErrors>(handle, callback); }
void HpsdrRadio_setep6SeqErrors(void* handle, int value) { set<&HpsdrRadio::ep6SeqErrors>(handle, value, "HpsdrRadio.ep6SeqErrors.set"); }
void HpsdrRadio_bindmaxAdcValue(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::maxAdcValue>(handle, callback); }
void HpsdrRadio_setmaxAdcValue(void* handle, int value) { set<&HpsdrRadio::maxAdcValue>(handle, value, "HpsdrRadio.maxAdcValue.set"); }
void HpsdrRadio_bindmaxRxRFGain(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::maxRxRFGain>(handle, callback); }
void HpsdrRadio_setmaxRxRFGain(void* handle, int value) { set<&HpsdrRadio::maxRxRFGain>(handle, value, "HpsdrRadio.maxRxRFGain.set"); }
void HpsdrRadio_bindmaxTxRFGain(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::maxTxRFGain>(handle, callback); }
void HpsdrRadio_setmaxTxRFGain(void* handle, int value) { set<&HpsdrRadio::maxTxRFGain>(handle, value, "HpsdrRadio.maxTxRFGain.set"); }
void HpsdrRadio_bindminRxRFGain(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::minRxRFGain>(handle, callback); }
void HpsdrRadio_setminRxRFGain(void* handle, int value) { set<&HpsdrRadio::minRxRFGain>(handle, value, "HpsdrRadio.minRxRFGain.set"); }
void HpsdrRadio_bindminTxRFGain(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::minTxRFGain>(handle, callback); }
void HpsdrRadio_setminTxRFGain(void* handle, int value) { set<&HpsdrRadio::minTxRFGain>(handle, value, "HpsdrRadio.minTxRFGain.set"); }
void HpsdrRadio_bindpaBias0(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::paBias0>(handle, callback); }
void HpsdrRadio_setpaBias0(void* handle, int value) { set<&HpsdrRadio::paBias0>(handle, value, "HpsdrRadio.paBias0.set"); }
void HpsdrRadio_bindpaBias1(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::paBias1>(handle, callback); }
void HpsdrRadio_setpaBias1(void* handle, int value) { set<&HpsdrRadio::paBias1>(handle, value, "HpsdrRadio.paBias1.set"); }
void HpsdrRadio_bindpaExtBias0(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::paExtBias0>(handle, callback); }
void HpsdrRadio_setpaExtBias0(void* handle, int value) { set<&HpsdrRadio::paExtBias0>(handle, value, "HpsdrRadio.paExtBias0.set"); }
void HpsdrRadio_bindrfAgcMode(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::rfAgcMode>(handle, callback); }
void HpsdrRadio_setrfAgcMode(void* handle, int value) { set<&HpsdrRadio::rfAgcMode>(handle, value, "HpsdrRadio.rfAgcMode.set"); }
void HpsdrRadio_bindrxGain(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::rxGain>(handle, callback); }
void HpsdrRadio_setrxGain(void* handle, int value) { set<&HpsdrRadio::rxGain>(handle, value, "HpsdrRadio.rxGain.set"); }
void HpsdrRadio_bindtxGain(void* handle, void (*callback)(int)) { bind<&HpsdrRadio::txGain>(handle, callback); }
void HpsdrRadio_settxGain(void* handle, int value) { set<&HpsdrRadio::txGain>(handle, value, "HpsdrRadio.txGain.set"); }
void HpsdrRadio_bindFwdPwr(void* handle, void (*callback)(float)) { bind<&HpsdrRadio::FwdPwr>(handle, callback); }
void HpsdrRadio_setFwdPwr(void* handle, float value) { set<&HpsdrRadio::FwdPwr>(handle, value, "HpsdrRadio.FwdPwr.set"); }
void HpsdrRadio_bindRevPwr(void* handle, void (*callback)(float)) { bind<&HpsdrRadio::RevPwr>(handle, callback); }
void HpsdrRadio_setRevPwr(void* handle, float value) { set<&HpsdrRadio::RevPwr>(handle, value, "HpsdrRadio.RevPwr.set"); }
void HpsdrRadio_bindSwr(void* handle, void (*callback)(float)) { bind<&HpsdrRadio::Swr>(handle, callback); }
void HpsdrRadio_setSwr(void* handle, float value) { set<&HpsdrRadio::Swr>(handle, value, "HpsdrRadio.Swr.set"); }
void HpsdrRadio_bindCurrent(void* handle, void (*callback)(double)) { bind<&HpsdrRadio::Current>(handle, callback); }
void HpsdrRadio_setCurrent(void* handle, double value) { set<&HpsdrRadio::Current>(handle, value, "HpsdrRadio.Current.set"); }
void HpsdrRadio_bindTemp(void* handle, void (*callback)(double)) { bind<&HpsdrRadio::Temp>(handle, callback); }
void HpsdrRadio_setTemp(void* handle, double value) { set<&HpsdrRadio::Temp>(handle, value, "HpsdrRadio.Temp.set"); }
void HpsdrRadio_bindadcPeak(void* handle, void (*callback)(double)) { bind<&HpsdrRadio::adcPeak>(handle, callback); }
void HpsdrRadio_setadcPeak(void* handle, double value) { set<&HpsdrRadio::adcPeak>(handle, value, "HpsdrRadio.adcPeak.set"); }
void HpsdrRadio_bindadcPeakDBFS(void* handle, void (*callback)(double)) { bind<&HpsdrRadio::adcPeakDBFS>(handle, callback); }
void HpsdrRadio_setadcPeakDBFS(void* handle, double value) { set<&HpsdrRadio::adcPeakDBFS>(handle, value, "HpsdrRadio.adcPeakDBFS.set"); }
void HpsdrRadio_bindfrequencyCalibration(void* handle, void (*callback)(double)) { bind<&HpsdrRadio::frequencyCalibration>(handle, callback); }
void HpsdrRadio_setfrequencyCalibration(void* handle, double value) {
    set<&HpsdrRadio::frequencyCalibration>(handle, value, "HpsdrRadio.frequencyCalibration.set");
}
void HpsdrRadio_bindATUTune(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::ATUTune>(handle, callback); }
void HpsdrRadio_setATUTune(void* handle, bool value) { set<&HpsdrRadio::ATUTune>(handle, value, "HpsdrRadio.ATUTune.set"); }
void HpsdrRadio_bindDisableWatchdog(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::DisableWatchdog>(handle, callback); }
void HpsdrRadio_setDisableWatchdog(void* handle, bool value) { set<&HpsdrRadio::DisableWatchdog>(handle, value, "HpsdrRadio.DisableWatchdog.set"); }
void HpsdrRadio_bindHLite2Gain(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::HLite2Gain>(handle, callback); }
void HpsdrRadio_setHLite2Gain(void* handle, bool value) { set<&HpsdrRadio::HLite2Gain>(handle, value, "HpsdrRadio.HLite2Gain.set"); }
void HpsdrRadio_bindHLiteGain(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::HLiteGain>(handle, callback); }
void HpsdrRadio_setHLiteGain(void* handle, bool value) { set<&HpsdrRadio::HLiteGain>(handle, value, "HpsdrRadio.HLiteGain.set"); }
void HpsdrRadio_bindHLiteRxTxGain(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::HLiteRxTxGain>(handle, callback); }
void HpsdrRadio_setHLiteRxTxGain(void* handle, bool value) { set<&HpsdrRadio::HLiteRxTxGain>(handle, value, "HpsdrRadio.HLiteRxTxGain.set"); }
void HpsdrRadio_bindRXAntenna(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::RXAntenna>(handle, callback); }
void HpsdrRadio_setRXAntenna(void* handle, bool value) { set<&HpsdrRadio::RXAntenna>(handle, value, "HpsdrRadio.RXAntenna.set"); }
void HpsdrRadio_bindUseJ16(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::UseJ16>(handle, callback); }
void HpsdrRadio_setUseJ16(void* handle, bool value) { set<&HpsdrRadio::UseJ16>(handle, value, "HpsdrRadio.UseJ16.set"); }
void HpsdrRadio_bindadcOvl(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::adcOvl>(handle, callback); }
void HpsdrRadio_setadcOvl(void* handle, bool value) { set<&HpsdrRadio::adcOvl>(handle, value, "HpsdrRadio.adcOvl.set"); }
void HpsdrRadio_bindautoFreqCalib(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::autoFreqCalib>(handle, callback); }
void HpsdrRadio_setautoFreqCalib(void* handle, bool value) { set<&HpsdrRadio::autoFreqCalib>(handle, value, "HpsdrRadio.autoFreqCalib.set"); }
void HpsdrRadio_bindbiasEnabled(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::biasEnabled>(handle, callback); }
void HpsdrRadio_setbiasEnabled(void* handle, bool value) { set<&HpsdrRadio::biasEnabled>(handle, value, "HpsdrRadio.biasEnabled.set"); }
void HpsdrRadio_binddisableTR(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::disableTR>(handle, callback); }
void HpsdrRadio_setdisableTR(void* handle, bool value) { set<&HpsdrRadio::disableTR>(handle, value, "HpsdrRadio.disableTR.set"); }
void HpsdrRadio_bindenablePA(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::enablePA>(handle, callback); }
void HpsdrRadio_setenablePA(void* handle, bool value) { set<&HpsdrRadio::enablePA>(handle, value, "HpsdrRadio.enablePA.set"); }
void HpsdrRadio_bindhasHL2PA(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::hasHL2PA>(handle, callback); }
void HpsdrRadio_sethasHL2PA(void* handle, bool value) { set<&HpsdrRadio::hasHL2PA>(handle, value, "HpsdrRadio.hasHL2PA.set"); }
void HpsdrRadio_bindstopToAddReceiver(void* handle, void (*callback)(bool)) { bind<&HpsdrRadio::stopToAddReceiver>(handle, callback); }
void HpsdrRadio_setstopToAddReceiver(void* handle, bool value) { set<&HpsdrRadio::stopToAddReceiver>(handle, value, "HpsdrRadio.stopToAddReceiver.set"); }
void HpsdrRadio_bindMac(void* handle, void (*callback)(const char*)) { bind<&HpsdrRadio::Mac>(handle, callback); }
void HpsdrRadio_setMac(void* handle, const char* value) { setText<&HpsdrRadio::Mac>(handle, value, "HpsdrRadio.Mac.set"); }
void HpsdrRadio_bindipAddress(void* handle, void (*callback)(const char*)) { bind<&HpsdrRadio::ipAddress>(handle, callback); }
void HpsdrRadio_setipAddress(void* handle, const char* value) { setText<&HpsdrRadio::ipAddress>(handle, value, "HpsdrRadio.ipAddress.set"); }
void HpsdrRadio_bindFilterSet(void* handle, void (*callback)(void*)) { bind<&HpsdrRadio::FilterSet>(handle, callback); }
void HpsdrRadio_setFilterSet(void* handle, void* item) { setObject<&HpsdrRadio::FilterSet>(handle, item, "HpsdrRadio.FilterSet.set"); }
void HpsdrRadio_bindFwdPwrCalibration(void* handle, ferrow_list_callback callback) { bind<&HpsdrRadio::FwdPwrCalibration>(handle, callback); }
void HpsdrRadio_setFwdPwrCalibration(void* handle, int operation, int index, void* item) {
    setList<&HpsdrRadio::FwdPwrCalibration>(handle, operation, index, item, "HpsdrRadio.FwdPwrCalibration.set");
}
void HpsdrRadio_resetFwdPwrCalibration(void* handle) { resetList<&HpsdrRadio::FwdPwrCalibration>(handle, "HpsdrRadio.FwdPwrCalibration.reset"); }
void HpsdrRadio_bindJ16Set(void* handle, ferrow_list_callback callback) { bind<&HpsdrRadio::J16Set>(handle, callback); }
void HpsdrRadio_setJ16Set(void* handle, int operation, int index, void* item) {
    setList<&HpsdrRadio::J16Set>(handle, operation, index, item, "HpsdrRadio.J16Set.set");
}
void HpsdrRadio_resetJ16Set(void* handle) { resetList<&HpsdrRadio::J16Set>(handle, "HpsdrRadio.J16Set.reset"); }
void HpsdrRadio_bindSampleRates(void* handle, ferrow_list_callback callback) { bind<&HpsdrRadio::SampleRates>(handle, callback); }
void HpsdrRadio_setSampleRates(void* handle, int operation, int index, void* item) {
    setList<&HpsdrRadio::SampleRates>(handle, operation, index, item, "HpsdrRadio.SampleRates.set");
}
void HpsdrRadio_resetSampleRates(void* handle) { resetList<&HpsdrRadio::SampleRates>(handle, "HpsdrRadio.SampleRates.reset"); }
void HpsdrRadio_bindrfAgcModes(void* handle, ferrow_list_callback callback) { bind<&HpsdrRadio::rfAgcModes>(handle, callback); }
void HpsdrRadio_setrfAgcModes(void* handle, int operation, int index, void* item) {
    setList<&HpsdrRadio::rfAgcModes>(handle, operation, index, item, "HpsdrRadio.rfAgcModes.set");
}
void HpsdrRadio_resetrfAgcModes(void* handle) { resetList<&HpsdrRadio::rfAgcModes>(handle, "HpsdrRadio.rfAgcModes.reset"); }
void HpsdrRadio_writeBias(void* handle) { post<&HpsdrRadio::writeBias, HpsdrRadio>(handle, "HpsdrRadio.writeBias()"); }
void HpsdrRadio_writeExtBias(void* handle) { post<&HpsdrRadio::writeExtBias, HpsdrRadio>(handle, "HpsdrRadio.writeExtBias()"); }
void HpsdrRadio_writeIP(void* handle, int address) {
    post<&HpsdrRadio::writeIP, HpsdrRadio>(handle, "HpsdrRadio.writeIP()", static_cast<std::uint32_t>(address));
}
void HpsdrRadio_writeMac(void* handle, int tail) { post<&HpsdrRadio::writeMac, HpsdrRadio>(handle, "HpsdrRadio.writeMac()", static_cast<std::uint32_t>(tail)); }
void HpsdrRadio_writeStatus(void* handle, int status) {
    post<&HpsdrRadio::writeStatus, HpsdrRadio>(handle, "HpsdrRadio.writeStatus()", static_cast<std::uint32_t>(status));
}

} // extern "C"
