#include "core/api/bridge.hpp"
#include "modes/jt_mod_demod.hpp"

#include <ferrowcore/jt.h>

using namespace ferrow;
using namespace ferrow::api;

namespace {

// The tones are copied: the host may fill its array anew at once.
void queueTones(void* handle, void* tones, int marker, int startMs, const char* label) {
    auto self = objectOf<JTModDemod>(handle, label);
    if (!self)
        return;
    buff<float> copy;
    if (tones != nullptr) {
        const auto& given = *static_cast<buff<float>*>(tones);
        copy = buff<float>(given.size());
        given.copy(copy);
    }
    self->queueSetItem(seqTask(label, [self, copy, marker, startMs] { self->queueMsg(copy, marker, startMs); }));
}

} // namespace

extern "C" {

void* JTModDemod_create(void) { return create<JTModDemod>(); }
void JTModDemod_bindDecimation(void* handle, void (*callback)(int)) { bind<&JTModDemod::Decimation>(handle, callback); }
void JTModDemod_setDecimation(void* handle, int value) { set<&JTModDemod::Decimation>(handle, value, "JTModDemod.Decimation.set"); }
void JTModDemod_bindFreqDevTable(void* handle, void (*callback)(int)) { bind<&JTModDemod::FreqDevTable>(handle, callback); }
void JTModDemod_setFreqDevTable(void* handle, int value) { set<&JTModDemod::FreqDevTable>(handle, value, "JTModDemod.FreqDevTable.set"); }
void JTModDemod_bindSaveMode(void* handle, void (*callback)(int)) { bind<&JTModDemod::SaveMode>(handle, callback); }
void JTModDemod_setSaveMode(void* handle, int value) { set<&JTModDemod::SaveMode>(handle, value, "JTModDemod.SaveMode.set"); }
void JTModDemod_bindStartDelaySamples(void* handle, void (*callback)(int)) { bind<&JTModDemod::StartDelaySamples>(handle, callback); }
void JTModDemod_setStartDelaySamples(void* handle, int value) { set<&JTModDemod::StartDelaySamples>(handle, value, "JTModDemod.StartDelaySamples.set"); }
void JTModDemod_bindTaperSamples(void* handle, void (*callback)(int)) { bind<&JTModDemod::TaperSamples>(handle, callback); }
void JTModDemod_setTaperSamples(void* handle, int value) { set<&JTModDemod::TaperSamples>(handle, value, "JTModDemod.TaperSamples.set"); }
void JTModDemod_bindendPadding(void* handle, void (*callback)(int)) { bind<&JTModDemod::endPadding>(handle, callback); }
void JTModDemod_setendPadding(void* handle, int value) { set<&JTModDemod::endPadding>(handle, value, "JTModDemod.endPadding.set"); }
void JTModDemod_bindperiod(void* handle, void (*callback)(int)) { bind<&JTModDemod::period>(handle, callback); }
void JTModDemod_setperiod(void* handle, int value) { set<&JTModDemod::period>(handle, value, "JTModDemod.period.set"); }
void JTModDemod_bindsamplesPerBlock(void* handle, void (*callback)(int)) { bind<&JTModDemod::samplesPerBlock>(handle, callback); }
void JTModDemod_setsamplesPerBlock(void* handle, int value) { set<&JTModDemod::samplesPerBlock>(handle, value, "JTModDemod.samplesPerBlock.set"); }
void JTModDemod_bindsamplesPerSymbol(void* handle, void (*callback)(int)) { bind<&JTModDemod::samplesPerSymbol>(handle, callback); }
void JTModDemod_setsamplesPerSymbol(void* handle, int value) { set<&JTModDemod::samplesPerSymbol>(handle, value, "JTModDemod.samplesPerSymbol.set"); }
void JTModDemod_bindtoneSpacing(void* handle, void (*callback)(double)) { bind<&JTModDemod::toneSpacing>(handle, callback); }
void JTModDemod_settoneSpacing(void* handle, double value) { set<&JTModDemod::toneSpacing>(handle, value, "JTModDemod.toneSpacing.set"); }
void JTModDemod_bindEnabled(void* handle, void (*callback)(bool)) { bind<&JTModDemod::Enabled>(handle, callback); }
void JTModDemod_setEnabled(void* handle, bool value) { set<&JTModDemod::Enabled>(handle, value, "JTModDemod.Enabled.set"); }
void JTModDemod_bindsaveDirectory(void* handle, void (*callback)(const char*)) { bind<&JTModDemod::saveDirectory>(handle, callback); }
void JTModDemod_setsaveDirectory(void* handle, const char* value) { setText<&JTModDemod::saveDirectory>(handle, value, "JTModDemod.saveDirectory.set"); }
void JTModDemod_bindnewFile(void* handle, void (*callback)(const char* nameAndMarker)) { bind<&JTModDemod::newFile>(handle, callback); }
void JTModDemod_queueMsg(void* handle, void* tones, int marker, int startMs) { queueTones(handle, tones, marker, startMs, "JTModDemod.queueMsg()"); }

} // extern "C"
