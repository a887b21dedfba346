"""The classes of the library. Made by tools/make_python_binding.py from the public headers."""

from ._objects import CLASSES, Event, InlineEvent, List, Object, Property, stop_at_exit


class asyncObject(Object):
    """asyncObject: these functions take the handle of an object of any class. One made by asyncObject_create has nothing
    but them."""
    _name = "asyncObject"
    Deleted = Event("asyncObject", "Deleted", ["i"],
        "Deleted: called with 1, by getUpdates, after the object has gone: no more callbacks come for it.")
    Echo = Event("asyncObject", "Echo", ["i"],
        "Echo: answers Ping, by getUpdates.")
    def Ping(self, value):
        """Sends `value` to the object's serial context and back to Echo: a test of the whole path."""
        self._call("asyncObject_Ping", ["i"], value)


class agc(asyncObject):
    """Gain control, squelch and volume of a transceiver. All times are worked at 48000 samples a second."""
    _name = "agc"
    Attack = Property("agc", "Attack", "f", 0.01,
        "Attack: seconds, default 0.01; time constant with which the gain falls. 0 is instant.")
    Decay = Property("agc", "Decay", "f", 0.2,
        "Decay: seconds, default 0.2; time constant with which the gain rises. 0 is instant.")
    Hang = Property("agc", "Hang", "f", 2.0,
        "Hang: seconds, default 2; how long the gain stands still after a peak.")
    MaxGain = Property("agc", "MaxGain", "f", 80.0,
        "MaxGain: dB, default 80.")
    Squelch = Property("agc", "Squelch", "f", -180.0,
        "Squelch: dB, default -180. Above -180 the object is a gate: silence while the signal strength is below the value, otherwise the signal at Volume without any gain control.")
    Volume = Property("agc", "Volume", "f", 1.0,
        "Volume: linear, default 1.")
    ManualGain = Property("agc", "ManualGain", "d", 1.0,
        "ManualGain: exponent of ten, default 1 (a gain of 10); used while Enabled is false.")
    Enabled = Property("agc", "Enabled", "?", True,
        "Enabled: default true: automatic gain.")


class modDemod(asyncObject):
    """What all modes have in common; its functions take the handle of any mode. A plain modDemod is silent. A mode
    serves one transceiver at a time: the last one that it was given to."""
    _name = "modDemod"
    db1 = Property("modDemod", "db1", "i", 0,
        "db1: carried for the host and the digital modes. Default 0.")
    rxFreq = Property("modDemod", "rxFreq", "i", 0,
        "rxFreq: Hz, default 0; audio frequency at which a digital mode receives.")
    txFreq = Property("modDemod", "txFreq", "i", 0,
        "txFreq: Hz, default 0; audio frequency at which it transmits.")
    rnnoiseSquelch = Property("modDemod", "rnnoiseSquelch", "d", 80.0,
        "rnnoiseSquelch: percent, default 80; how much of the noise reduction's gains is kept: 100 all that it takes away, 0 nothing. Values beyond these bounds count as the nearer one, and as 100 if it is no number.")
    rnnoise = Property("modDemod", "rnnoise", "?", False,
        "rnnoise: default false; a neural network takes noise out of the received voice, a block of 512 samples later. The gain control behind it takes times and volume from the transceiver's rxagc and amplifies by up to 10 dB.")


class amModDemod(modDemod):
    """Amplitude modulation, received by its envelope. It sends a half-scale carrier with the audio from 150 to 3000 Hz,
    whatever the transmit filter."""
    _name = "amModDemod"
    compression = Property("amModDemod", "compression", "d", 1.0,
        "compression: default 1; gain into the transmit clipper, which a full-scale tone just reaches at 1. Here and in the other voice modes it counts up to a million, and 0 if it is no number.")


class calibLine(asyncObject):
    """A point of a piecewise linear curve: of a power calibration or of an equaliser."""
    _name = "calibLine"
    inp = Property("calibLine", "inp", "d", 0.0,
        "inp: where the point lies: a smoothed reading of the ADC, or Hz. Default 0.")
    outp = Property("calibLine", "outp", "d", 0.0,
        "outp: what the curve gives there: watts, or a linear gain. Default 0.")


class chirpyModDemod(modDemod):
    """A chirp beacon: while ptt is on it sends its callsign every twelve seconds, in a band of 1000 Hz around txFreq
    (modDemod; 0 stands for 1500 Hz). While it receives, around rxFreq, each beacon that it hears adds a line to the
    file that the environment's FERROW_CHIRP_CSV names, by default ferrowcore/chirp.csv in the user's state folder."""
    _name = "chirpyModDemod"


class clientModDemod(modDemod):
    """Hands every received block to the host and plays it as single sideband does. It transmits nothing."""
    _name = "clientModDemod"
    rxChunk = Event("clientModDemod", "rxChunk", ["complexArray", "i"],
        "rxChunk: called by the pump with a complexArray of 512 samples at 48000 a second, after the receive filter, which the host owns, and the block's number, from 0. A gap in the numbers is a block that was dropped.")


class Controller(asyncObject):
    """Common base of the objects that look for radios."""
    _name = "Controller"


class cwModDemod(modDemod):
    """Morse telegraphy. The transceiver is tuned to the carrier itself: reception is decoded at 0 Hz and heard at
    `freq`; the transmitted carrier lies at the tuned frequency. Codes of up to five elements are decoded, letters in
    lower case, which leaves out all punctuation."""
    _name = "cwModDemod"
    swHangTime = Property("cwModDemod", "swHangTime", "i", 200,
        "swHangTime: ms, default 200; how long ptt stays on with nothing to send, unless the radio is keyed by its own input.")
    dbg1 = Property("cwModDemod", "dbg1", "d", 0.0,
        "dbg1: carried for the host. Default 0.")
    dbg2 = Property("cwModDemod", "dbg2", "d", 0.0,
        "dbg2: carried for the host. Default 0.")
    freq = Property("cwModDemod", "freq", "d", 650.0,
        "freq: Hz, default 650; pitch of what is heard, and of the sidetone.")
    rxwpm = Property("cwModDemod", "rxwpm", "d", 20.0,
        "rxwpm: words a minute, default 20; the speed of what is received, as the decoder takes it. It begins at 45 with the first block.")
    sidetoneVolume = Property("cwModDemod", "sidetoneVolume", "d", 1.0,
        "sidetoneVolume: 0 to 1, default 1; the operator's own keying on the audio output. 0 leaves the receiver audible.")
    wpm = Property("cwModDemod", "wpm", "d", 20.0,
        "wpm: words a minute, default 20; sending speed.")
    newChars = Event("cwModDemod", "newChars", ["t"],
        "newChars: decoded text.")
    newDebug = Event("cwModDemod", "newDebug", ["floatArray", "d", "d", "i"],
        "newDebug: nothing sends it in this version. The host owns the array.")
    sentChars = Event("cwModDemod", "sentChars", ["t"],
        "sentChars: a character that begins to be sent.")
    def KeyDown(self):
        """The key. Down goes on the air if need be; swHangTime after the last one the transmitter goes off. The key goes
        before the text."""
        self._call("cwModDemod_KeyDown", [])
    def KeyUp(self):
        """The key. Down goes on the air if need be; swHangTime after the last one the transmitter goes off. The key goes
        before the text."""
        self._call("cwModDemod_KeyUp", [])
    def QueueText(self, text, flags=0):
        """Letters, digits, space and . , ? ! = &. Prosigns: ~ AA with a letter's gap inside, < AS, > AR, % SK, + KN, {
        HM, } SN, # BK. A grave accent, carriage return or line feed ends the transmission; "@" idles for a moment;
        others send nothing."""
        self._call("cwModDemod_QueueText", ["t", "i"], text, flags)


class fmModDemod(modDemod):
    """Frequency modulation. With a deviation below 12000 Hz it is narrow, at 48 kHz, with mono audio; from 12000 Hz on
    it receives broadcast stations, at 384 kHz, with pairs of left and right. Set the receive filter anew when the
    deviation has crossed that line. Transmission is meant for narrow deviations: its I/Q has 48 kHz always."""
    _name = "fmModDemod"
    compression = Property("fmModDemod", "compression", "d", 1.0,
        "compression: default 1; gain into the transmit clipper, which a full-scale tone of 300 Hz just reaches at 1; the pre-emphasis adds to it in proportion to the frequency.")
    deviation = Property("fmModDemod", "deviation", "d", 75000.0,
        "deviation: Hz, default 75000; peak deviation of a transmission, and the one that is received at full scale. Below 1 Hz, or if it is no number, reception is silent; transmission counts up to 1 MHz, and no number as 0.")
    CTCSS = Property("fmModDemod", "CTCSS", "d", 0.0,
        "CTCSS: Hz, default 0: off, as is a negative value; a tone under the voice, at a tenth of it. While it is on all deviation is 0.85 of what it is without. Higher ones count as 24000.")
    MaxDeviation = Property("fmModDemod", "MaxDeviation", "d", 100000.0,
        "MaxDeviation: Hz, default 100000; carried for the host.")
    Stereo = Property("fmModDemod", "Stereo", "?", False,
        "Stereo: default false: broadcast stations are heard in mono, on both sides.")


class fskModDemod(modDemod):
    """The numbers of a two-tone mode, kept for the host: it receives silence and sends nothing."""
    _name = "fskModDemod"
    baud = Property("fskModDemod", "baud", "i", 0,
        "baud: elements a second, default 0.")
    f0 = Property("fskModDemod", "f0", "i", 0,
        "f0: Hz, default 0; one tone.")
    f1 = Property("fskModDemod", "f1", "i", 0,
        "f1: Hz, default 0; the other.")


class hellschreiberModDemod(modDemod):
    """Hellschreiber: text painted dot by dot into the spectrogram of whoever looks at it, rows of tones from 1300 Hz
    above the tuned frequency downward. It does not receive."""
    _name = "hellschreiberModDemod"
    frequencyStep = Property("hellschreiberModDemod", "frequencyStep", "d", 30.0,
        "frequencyStep: Hz between rows, default 30; a row lasts 1 / frequencyStep seconds.")
    sentChars = Event("hellschreiberModDemod", "sentChars", ["t"],
        "sentChars: a character that begins to be sent.")
    def QueueText(self, text, flags=0):
        """Characters 32 to 127; others are blanks. "~" ends the transmission and is not sent. With nothing to send
        blanks go out."""
        self._call("hellschreiberModDemod_QueueText", ["t", "i"], text, flags)


@stop_at_exit
class Radio(asyncObject):
    """What all radios have in common; its functions take the handle of any kind of radio. A plain Radio has no hardware
    behind it."""
    _name = "Radio"
    SampleRate = Property("Radio", "SampleRate", "i", 48000,
        "SampleRate: Hz, default 48000; rate of the hardware receivers.")
    TuneDrive = Property("Radio", "TuneDrive", "i", 0,
        "TuneDrive: transmit drive while tuning, default 0.")
    cwHangTime = Property("Radio", "cwHangTime", "i", 120,
        "cwHangTime: ms, default 120.")
    drive = Property("Radio", "drive", "i", 0,
        "drive: transmit drive without a transceiver, default 0.")
    maxADCs = Property("Radio", "maxADCs", "i", 1,
        "maxADCs: number of ADCs, default 1; at most 4 are used.")
    maxHwReceivers = Property("Radio", "maxHwReceivers", "i", 1,
        "maxHwReceivers: upper bound of hardware receivers, default 1. Set it before the first start.")
    receivedPackets = Property("Radio", "receivedPackets", "i", 0,
        "receivedPackets: statistic. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    sentPackets = Property("Radio", "sentPackets", "i", 0,
        "sentPackets: statistic. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    TransceiverOffset = Property("Radio", "TransceiverOffset", "q", 0,
        "TransceiverOffset: Hz, default 0; frequency of a converter in front of the radio: hardware frequency = logical frequency minus this.")
    ValidBandwidthRatio = Property("Radio", "ValidBandwidthRatio", "d", 0.95,
        "ValidBandwidthRatio: 0 to 1, default 0.95; usable fraction of a receiver's bandwidth. A change shares the receivers out anew. Less than 0, more than 2 and what is no number is logged and bounded.")
    rxLevelCalibration = Property("Radio", "rxLevelCalibration", "d", 1.0,
        "rxLevelCalibration: linear, default 1; scales the received samples.")
    RadioPtt = Property("Radio", "RadioPtt", "?", False,
        "RadioPtt: ptt as the hardware reports it. Default false. Written by the library; what a host writes is overwritten by the next update.")
    canTransmit = Property("Radio", "canTransmit", "?", False,
        "canTransmit: default false, which makes every ptt request a no-op; backends that transmit set it.")
    cwInternal = Property("Radio", "cwInternal", "?", False,
        "cwInternal: default false; CW is keyed inside the hardware.")
    disableVirtualReceivers = Property("Radio", "disableVirtualReceivers", "?", False,
        "disableVirtualReceivers: default false; true gives each transceiver a hardware receiver of its own.")
    ptt = Property("Radio", "ptt", "?", False,
        "ptt: the radio is transmitting. Default false. Written by the library; what a host writes is overwritten by the next update.")
    vtrxAdded = Event("Radio", "vtrxAdded", ["vtrx", "q", "i", "i"],
        "vtrxAdded: a transceiver has been made; the host owns the handle.")
    def addVtrx(self, frequency, hwReceiverHint=0, ownerId=0):
        """Makes a transceiver at `frequency` Hz (-1: where the hinted receiver stands), served at first by hardware
        receiver `hwReceiverHint`, counted from 0. An `ownerId` above 0 marks the transceiver of a remote client,
        which gets no audio here. vtrxAdded tells its handle."""
        self._call("Radio_addVtrx", ["q", "i", "i"], frequency, hwReceiverHint, ownerId)
    def removeVtrx(self, vtrx):
        """Takes a transceiver off the radio; if it transmits, the transmission ends. The host keeps its handle, but what
        it sets there no longer reaches the radio."""
        self._call("Radio_removeVtrx", ["vtrx"], vtrx)
    def start(self):
        """Starts the hardware stream. From the second start on it also starts the transceivers."""
        self._call("Radio_start", [])
    def stop(self):
        """Stops the hardware stream and the transceivers."""
        self._call("Radio_stop", [])


class HpsdrNpRadio(Radio):
    """A Radio; its functions work on it too. Callbacks run in getUpdates."""
    _name = "HpsdrNpRadio"
    SampleRates = List("HpsdrNpRadio", "SampleRates", "ValueLabelItem",
        "SampleRates: list of ValueLabelItem, 48 to 1536 kHz, for display.")
    Mac = Property("HpsdrNpRadio", "Mac", "s", "",
        "Mac: hardware address, carried for the host. Default empty.")
    ipAddress = Property("HpsdrNpRadio", "ipAddress", "s", "",
        "ipAddress: IPv4 address, dotted; read by the first start. Default empty.")
    txGain = Property("HpsdrNpRadio", "txGain", "i", 0,
        "txGain: dB, not sent to the radio. Default 0.")
    rxGain = Property("HpsdrNpRadio", "rxGain", "i", 0,
        "rxGain: RF gain in receive, dB, minRxRFGain to maxRxRFGain; goes out as attenuation with the next periodic packet and is taken out of the samples at once. Default 0.")
    maxTxRFGain = Property("HpsdrNpRadio", "maxTxRFGain", "i", 0,
        "maxTxRFGain: dB, carried for the host. Default 0.")
    minTxRFGain = Property("HpsdrNpRadio", "minTxRFGain", "i", -31,
        "minTxRFGain: dB, carried for the host. Default -31.")
    maxRxRFGain = Property("HpsdrNpRadio", "maxRxRFGain", "i", 0,
        "maxRxRFGain: dB; the attenuator is maxRxRFGain - rxGain. Default 0.")
    minRxRFGain = Property("HpsdrNpRadio", "minRxRFGain", "i", -31,
        "minRxRFGain: dB, carried for the host. Default -31.")
    clockFrequency = Property("HpsdrNpRadio", "clockFrequency", "i", 122880000,
        "clockFrequency: of the ADC, Hz; a retune uses it at once, the span of the wideband data from the first start on. Default 122880000.")
    frequencyCalibration = Property("HpsdrNpRadio", "frequencyCalibration", "d", 1.0,
        "frequencyCalibration: carried for the host; frequencies go out without it. Default 1.0.")
    autoFreqCalib = Property("HpsdrNpRadio", "autoFreqCalib", "?", False,
        "autoFreqCalib: carried for the host. Default false.")
    FwVersion = Property("HpsdrNpRadio", "FwVersion", "i", 0,
        "FwVersion: firmware, carried for the host. Default 0.")
    Temp = Property("HpsdrNpRadio", "Temp", "d", 0.0,
        "Temp: degrees Celsius, carried for the host. Default 0.")
    Current = Property("HpsdrNpRadio", "Current", "d", 0.0,
        "Current: mA, carried for the host. Default 0.")
    FwdPwr = Property("HpsdrNpRadio", "FwdPwr", "f", 0.0,
        "FwdPwr: W, carried for the host. Default 0.")
    RevPwr = Property("HpsdrNpRadio", "RevPwr", "f", 0.0,
        "RevPwr: W, carried for the host. Default 0.")
    Swr = Property("HpsdrNpRadio", "Swr", "f", 0.0,
        "Swr: carried for the host. Default 0.")
    adcOvl = Property("HpsdrNpRadio", "adcOvl", "?", False,
        "adcOvl: the ADC is overloaded, as the radio reports. Default false. Written by the library.")
    ep6SeqErrors = Property("HpsdrNpRadio", "ep6SeqErrors", "i", 0,
        "ep6SeqErrors: gaps in the receive streams. Default 0. Written by the library.")
    ep4SeqErrors = Property("HpsdrNpRadio", "ep4SeqErrors", "i", 0,
        "ep4SeqErrors: stays 0. Default 0.")
    adcPeak = Property("HpsdrNpRadio", "adcPeak", "d", 0.0,
        "adcPeak: peak of the wideband samples as a fraction of full scale, every 202 wideband packets. Default 0. Written by the library.")
    adcPeakDBFS = Property("HpsdrNpRadio", "adcPeakDBFS", "d", 0.0,
        "adcPeakDBFS: the same in dB; -100 without a signal. Default 0. Written by the library.")


class HpsdrRadio(Radio):
    """A radio on the first HPSDR protocol, the Hermes-Lite family above all. The host finds it on the network and sets
    ipAddress, TypeID, FwVersion, the gain rules and limits and maxHwReceivers before the first Radio_start."""
    _name = "HpsdrRadio"
    FwVersion = Property("HpsdrRadio", "FwVersion", "i", 0,
        "FwVersion: firmware version, default 0; below 60 changes the bias writes.")
    MercurySerial = Property("HpsdrRadio", "MercurySerial", "i", 0,
        "MercurySerial: carried for the host. Default 0.")
    MinTxBufferLevel = Property("HpsdrRadio", "MinTxBufferLevel", "i", 0,
        "MinTxBufferLevel: lowest fill of the radio's transmit buffer, 0 to 128. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    PTTHangTime = Property("HpsdrRadio", "PTTHangTime", "i", 22,
        "PTTHangTime: ms, default 22.")
    PenelopeSerial = Property("HpsdrRadio", "PenelopeSerial", "i", 0,
        "PenelopeSerial: carried for the host. Default 0.")
    TXBufferLatency = Property("HpsdrRadio", "TXBufferLatency", "i", 10,
        "TXBufferLatency: ms, default 10.")
    TxBufferOverflow = Property("HpsdrRadio", "TxBufferOverflow", "i", 0,
        "TxBufferOverflow: count of reports. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    TxBufferUnderflow = Property("HpsdrRadio", "TxBufferUnderflow", "i", 0,
        "TxBufferUnderflow: count of reports. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    TypeID = Property("HpsdrRadio", "TypeID", "i", 0,
        "TypeID: board type of the discovery reply, default 0; 6 and 7 are Hermes-Lite.")
    clockFrequency = Property("HpsdrRadio", "clockFrequency", "i", 73728000,
        "clockFrequency: Hz, default 73728000; the ADC's clock.")
    ep4SeqErrors = Property("HpsdrRadio", "ep4SeqErrors", "i", 0,
        "ep4SeqErrors: gaps in the wideband stream, which are not counted: default 0, and stays so.")
    ep6SeqErrors = Property("HpsdrRadio", "ep6SeqErrors", "i", 0,
        "ep6SeqErrors: gaps in the receive stream. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    maxAdcValue = Property("HpsdrRadio", "maxAdcValue", "i", 2048,
        "maxAdcValue: default 2048; full scale of the wideband samples.")
    maxRxRFGain = Property("HpsdrRadio", "maxRxRFGain", "i", 48,
        "maxRxRFGain: dB, default 48.")
    maxTxRFGain = Property("HpsdrRadio", "maxTxRFGain", "i", 19,
        "maxTxRFGain: dB, default 19.")
    minRxRFGain = Property("HpsdrRadio", "minRxRFGain", "i", -12,
        "minRxRFGain: dB, default -12.")
    minTxRFGain = Property("HpsdrRadio", "minTxRFGain", "i", -12,
        "minTxRFGain: dB, default -12.")
    paBias0 = Property("HpsdrRadio", "paBias0", "i", 0,
        "paBias0: 0 to 255, default 0; written to the radio while biasEnabled.")
    paBias1 = Property("HpsdrRadio", "paBias1", "i", 0,
        "paBias1: 0 to 255, default 0; written to the radio while biasEnabled.")
    paExtBias0 = Property("HpsdrRadio", "paExtBias0", "i", 0,
        "paExtBias0: 0 to 255, default 0; written to the radio while biasEnabled.")
    rfAgcMode = Property("HpsdrRadio", "rfAgcMode", "i", 0,
        "rfAgcMode: default 0, off; from 1 up the RF gain follows the ADC's overloads. See rfAgcModes.")
    rxGain = Property("HpsdrRadio", "rxGain", "i", 24,
        "rxGain: dB, default 24; RF gain in receive.")
    txGain = Property("HpsdrRadio", "txGain", "i", 0,
        "txGain: dB, default 0; RF gain in transmit.")
    FwdPwr = Property("HpsdrRadio", "FwdPwr", "f", 0.0,
        "FwdPwr: watts, 0 while receiving. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    RevPwr = Property("HpsdrRadio", "RevPwr", "f", 0.0,
        "RevPwr: watts, 0 while receiving. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    Swr = Property("HpsdrRadio", "Swr", "f", 0.0,
        "Swr: ratio, 0 while receiving. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    Current = Property("HpsdrRadio", "Current", "d", 0.0,
        "Current: milliamperes, 0 while receiving. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    Temp = Property("HpsdrRadio", "Temp", "d", 0.0,
        "Temp: degrees Celsius. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    adcPeak = Property("HpsdrRadio", "adcPeak", "d", 0.0,
        "adcPeak: peak of the wideband samples as a fraction of maxAdcValue. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    adcPeakDBFS = Property("HpsdrRadio", "adcPeakDBFS", "d", 0.0,
        "adcPeakDBFS: the same in dB; -100 for none. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    frequencyCalibration = Property("HpsdrRadio", "frequencyCalibration", "d", 1.0,
        "frequencyCalibration: factor, default 1; multiplies every frequency sent to the radio.")
    ATUTune = Property("HpsdrRadio", "ATUTune", "?", False,
        "ATUTune: default false; start the antenna tuner while tuning.")
    DisableWatchdog = Property("HpsdrRadio", "DisableWatchdog", "?", False,
        "DisableWatchdog: default false; start the radio with its watchdog off.")
    HLite2Gain = Property("HpsdrRadio", "HLite2Gain", "?", False,
        "HLite2Gain: default false; gain rule and drive table of the second Hermes-Lite.")
    HLiteGain = Property("HpsdrRadio", "HLiteGain", "?", True,
        "HLiteGain: default true; gain rule of the first Hermes-Lite.")
    HLiteRxTxGain = Property("HpsdrRadio", "HLiteRxTxGain", "?", False,
        "HLiteRxTxGain: default false; gain bytes straight from rxGain and txGain.")
    RXAntenna = Property("HpsdrRadio", "RXAntenna", "?", False,
        "RXAntenna: default false; the receive antenna.")
    UseJ16 = Property("HpsdrRadio", "UseJ16", "?", True,
        "UseJ16: default true: J16Set chooses the band filter; false: FilterSet.")
    adcOvl = Property("HpsdrRadio", "adcOvl", "?", False,
        "adcOvl: ADC overload. Default false. Written by the library; what a host writes is overwritten by the next update.")
    autoFreqCalib = Property("HpsdrRadio", "autoFreqCalib", "?", False,
        "autoFreqCalib: default false; frequencyCalibration follows the host's clock.")
    biasEnabled = Property("HpsdrRadio", "biasEnabled", "?", False,
        "biasEnabled: default false; allows the bias writes.")
    disableTR = Property("HpsdrRadio", "disableTR", "?", False,
        "disableTR: default false; true leaves the antenna relay alone while transmitting.")
    enablePA = Property("HpsdrRadio", "enablePA", "?", False,
        "enablePA: default false; true switches the power amplifier on.")
    hasHL2PA = Property("HpsdrRadio", "hasHL2PA", "?", False,
        "hasHL2PA: carried for the host. Default false.")
    stopToAddReceiver = Property("HpsdrRadio", "stopToAddReceiver", "?", True,
        "stopToAddReceiver: default true; the stream is restarted when a receiver is added.")
    Mac = Property("HpsdrRadio", "Mac", "s", "",
        "Mac: hardware address, carried for the host. Default empty.")
    ipAddress = Property("HpsdrRadio", "ipAddress", "s", "",
        "ipAddress: the radio's IPv4 address, dotted; read by the first start. Default empty.")
    FilterSet = Property("HpsdrRadio", "FilterSet", "J16Filter", None,
        "FilterSet: J16Filter in use while UseJ16 is false. Default none.")
    FwdPwrCalibration = List("HpsdrRadio", "FwdPwrCalibration", "calibLine",
        "FwdPwrCalibration: persistent list of calibLine: smoothed reading to watts. The first start fills an empty one.")
    J16Set = List("HpsdrRadio", "J16Set", "J16",
        "J16Set: persistent list of J16, by rising edge. The first start fills an empty one.")
    SampleRates = List("HpsdrRadio", "SampleRates", "ValueLabelItem",
        "SampleRates: list of ValueLabelItem: the rates for Radio_setSampleRate, 48, 96, 192 and 384 kHz, in Hz.")
    rfAgcModes = List("HpsdrRadio", "rfAgcModes", "ValueLabelItem",
        "rfAgcModes: list of ValueLabelItem: the choices of rfAgcMode, \"off\" 0 and \"max\" 2.")
    def writeBias(self):
        """Stores both bias settings in the radio, while biasEnabled."""
        self._call("HpsdrRadio_writeBias", [])
    def writeExtBias(self):
        """Stores the external bias setting, while biasEnabled."""
        self._call("HpsdrRadio_writeExtBias", [])
    def writeIP(self, address):
        """Stores the radio's fixed IPv4 address, most significant byte first."""
        self._call("HpsdrRadio_writeIP", ["i"], address)
    def writeMac(self, tail):
        """Stores the last two bytes of the radio's MAC address."""
        self._call("HpsdrRadio_writeMac", ["i"], tail)
    def writeStatus(self, status):
        """Stores the radio's status byte."""
        self._call("HpsdrRadio_writeStatus", ["i"], status)


class J16(asyncObject):
    """A row of the simple filter table: band filters up to a frequency."""
    _name = "J16"
    maxfrequency = Property("J16", "maxfrequency", "i", 0,
        "maxfrequency: Hz, default 0; upper edge of the band.")
    rx = Property("J16", "rx", "i", 0,
        "rx: filter word for receive, a bit for each output; default 0.")
    tx = Property("J16", "tx", "i", 0,
        "tx: filter word for transmit, a bit for each output; default 0.")


class J16Filter(asyncObject):
    """Filter table for several receivers at once."""
    _name = "J16Filter"
    FilterBands = List("J16Filter", "FilterBands", "J16FilterBands",
        "FilterBands: persistent list of J16FilterBands, by rising edge. Default empty.")
    FilterRx = List("J16Filter", "FilterRx", "J16FilterRx",
        "FilterRx: persistent list of J16FilterRx, by set of bands in use. Default empty.")


class J16FilterBands(asyncObject):
    """A band of a J16Filter."""
    _name = "J16FilterBands"
    maxfrequency = Property("J16FilterBands", "maxfrequency", "i", 0,
        "maxfrequency: Hz, default 0; upper edge.")
    tx = Property("J16FilterBands", "tx", "i", 0,
        "tx: filter word for transmit, a bit for each output; default 0.")


class J16FilterRx(asyncObject):
    """A receive row of a J16Filter; its place in the list is the set of bands, as a bit mask, that it serves."""
    _name = "J16FilterRx"
    bands = Property("J16FilterRx", "bands", "i", 0,
        "bands: set of bands, as a bit mask, for display; default 0.")
    rx = Property("J16FilterRx", "rx", "i", 0,
        "rx: filter word for receive, a bit for each output; default 0.")


class JTModDemod(modDemod):
    """The slotted weak-signal modes (FT8, FT4, WSPR and their like). It cuts reception into periods of UTC and saves
    each as a file, for a decoder such as ft8decode; it sends a table of tones."""
    _name = "JTModDemod"
    Decimation = Property("JTModDemod", "Decimation", "i", 4,
        "Decimation: default 4; one input sample of 48000 a second in this many is kept.")
    FreqDevTable = Property("JTModDemod", "FreqDevTable", "i", 0,
        "FreqDevTable: default 0; frequency smoothing on transmit: 0 none; 2, 10, 50 a Gaussian step of that bandwidth-time product, any other positive value a product of 1.")
    SaveMode = Property("JTModDemod", "SaveMode", "i", 0,
        "SaveMode: default 0: WAV files; 1: .c2 files.")
    StartDelaySamples = Property("JTModDemod", "StartDelaySamples", "i", 0,
        "StartDelaySamples: samples at 48000 a second, default 0; silence before the first symbol.")
    TaperSamples = Property("JTModDemod", "TaperSamples", "i", 0,
        "TaperSamples: samples at 48000 a second, default 0; amplitude ramp at both ends, with FreqDevTable.")
    endPadding = Property("JTModDemod", "endPadding", "i", 0,
        "endPadding: stored values, default 0; end of the block that is not captured but zero.")
    period = Property("JTModDemod", "period", "i", 15000,
        "period: ms, default 15000, at least 500.")
    samplesPerBlock = Property("JTModDemod", "samplesPerBlock", "i", 151200,
        "samplesPerBlock: stored values of a period, default 151200, at most 2^25; 180000 is the whole of an FT8 slot.")
    samplesPerSymbol = Property("JTModDemod", "samplesPerSymbol", "i", 7680,
        "samplesPerSymbol: samples at 48000 a second, default 7680.")
    toneSpacing = Property("JTModDemod", "toneSpacing", "d", 6.25,
        "toneSpacing: Hz per unit of tone number, default 6.25.")
    Enabled = Property("JTModDemod", "Enabled", "?", True,
        "Enabled: default true; false drops the capture and ends a transmission.")
    saveDirectory = Property("JTModDemod", "saveDirectory", "s", "",
        "saveDirectory: prefix of every file name, default empty; it ends in a separator.")
    newFile = Event("JTModDemod", "newFile", ["s"],
        "newFile: a period has been saved: the file's name, directly followed by the decimal marker: 8 for a period without a transmission, else what queueMsg gave.")
    def queueMsg(self, tones, marker=0, startMs=0):
        """Queues a transmission for the period that holds `startMs` milliseconds since the top of the hour;
        `floatArray_tones` has a tone number for each symbol, and may be deleted on return. A second call replaces the
        first. It starts only in a period whose beginning the mode has seen, and only while Enabled; ptt without a
        message ends by itself."""
        self._call("JTModDemod_queueMsg", ["floatArray", "i", "i"], tones, marker, startMs)


class MultiPskModDemod(modDemod):
    """A mode (modDemod) that lets MultiPSK demodulate. From vtrx_setModulation on it listens on a TCP port, answers
    MultiPSK's handshake and streams the receive baseband, 48000 16-bit pairs a second; MultiPSK may retune the
    transceiver, which shows as its vfo. One client at a time. The audio is the real part of the baseband. It
    transmits nothing.

    It listens on 127.0.0.1 only. The environment variable FERROW_MULTIPSK_ADDRESS, read by _create, names another
    address of this computer, IPv4 or IPv6; 0.0.0.0 or :: stands for all interfaces. There is no password: whoever
    reaches the port can listen and tune. A port that cannot be opened is logged ("listen err ") and leaves the mode
    without a link."""
    _name = "MultiPskModDemod"
    connected = Property("MultiPskModDemod", "connected", "?", False,
        "connected: a client is connected. Default false.")
    sending = Property("MultiPskModDemod", "sending", "?", False,
        "sending: the client has asked for the stream. Default false. Stays when the client goes, until one says that it has enough.")
    port = Property("MultiPskModDemod", "port", "i", 50001,
        "port: 1 to 65535, default 50001; set it before vtrx_setModulation. While another object of this process has the port, the next free one is taken and told here.")


class proxyModDemod(modDemod):
    """A mode whose work the host does in line. Its two callbacks are the only ones that do not wait for the pump: they
    run on one of the library's threads, possibly both at once, and hold up the stream until they return. They must be
    quick, and call no function of the library but those of the arrays. The host owns the arrays."""
    _name = "proxyModDemod"
    rxChunk = InlineEvent("proxyModDemod", "rxChunk", ["complexArray"],
        "rxChunk: called with a complexArray of 512 received samples at 48000 a second; they are good until it returns. The mode plays them as single sideband does, with what the host has changed in them.")
    getTxChunk = InlineEvent("proxyModDemod", "getTxChunk", ["complexArray", "complexArray"],
        "getTxChunk: called with two complexArrays of 512 samples at 48000 a second: the one to fill, which passes the transmit filter and goes to the radio, and the microphone, as 0.707 of each sample in both components. Unbound, it sends silence.")


class PskDetector(asyncObject):
    """One receiver of PskModDemod's bank; the host gets these from its list. One that the host makes itself receives
    nothing."""
    _name = "PskDetector"
    activity = Property("PskDetector", "activity", "i", 0,
        "activity: default 0; stored for the host. A detector with 200 or more is not given to another signal.")
    freq = Property("PskDetector", "freq", "i", 0,
        "freq: Hz, default 0; the tracked audio frequency, published every 0.7 s. A value that the host sets is overwritten then.")
    signalStrength = Property("PskDetector", "signalStrength", "i", 0,
        "signalStrength: default 0; stored for the host.")
    Mode = Property("PskDetector", "Mode", "s", "",
        "Mode: \"PSK31\", \"PSK63\", \"PSK125\", \"QPSK31\", \"QPSK63\" or \"QPSK125\": what the detector reads. For display; setting it changes no detector. Default empty.")
    newChars = Event("PskDetector", "newChars", ["t"],
        "newChars: text received, one or more bytes; those above 127 as they came.")
    reset = Event("PskDetector", "reset", [],
        "reset: the detector has been given to another signal: a display starts a new line.")


class PskModDemod(modDemod):
    """The PSK31 family. It watches the whole passband up to 3900 Hz with 66 detectors at once: 0 to 29 (PSK31) and 30 to
    59 (PSK63) look for signals by themselves, 60 to 65 (PSK31, PSK63, PSK125, QPSK31, QPSK63, QPSK125) stand on
    rxFreq. One of all is the primary, which also reports here; rxFreq and txFreq (modDemod, both 1500 Hz at first)
    follow it, and setting rxFreq tunes it, the six and the transmitter. It transmits while ptt of its transceiver is
    on: preamble, queued text, reversals while there is none. A release plays the postamble first."""
    _name = "PskModDemod"
    mode = Property("PskModDemod", "mode", "i", 0,
        "mode: the Value of an entry of Modes, default 0 (PSK31). Sets the transmitter, and makes the detector of that mode among 60 to 65 the primary unless the primary reads it already. 3: ptt sends a steady carrier; 4: the same, then the postamble.")
    primaryDetector = Property("PskModDemod", "primaryDetector", "i", 60,
        "primaryDetector: place in dets, default 60. A value outside of 0 to 65: none.")
    sigLevel = Property("PskModDemod", "sigLevel", "i", 0,
        "sigLevel: default 0; stored for the host.")
    Modes = List("PskModDemod", "Modes", "ValueLabelItem",
        "Modes: list of ValueLabelItem: the choices of mode.")
    dets = List("PskModDemod", "dets", "PskDetector",
        "dets: list of the 66 PskDetector. What the host does to the list leaves reception as it is.")
    newChars = Event("PskModDemod", "newChars", ["t"],
        "newChars: text received by the primary detector.")
    sentChars = Event("PskModDemod", "sentChars", ["t"],
        "sentChars: a character has been taken for sending; one at a time, the final \"~\" too.")
    def QueueText(self, text, number=0):
        """Queues text to send; it waits for ptt. "~" ends the transmission and is not sent itself. Up to 4096 bytes
        wait; what does not fit is lost and logged. `number` has no meaning."""
        self._call("PskModDemod_QueueText", ["t", "i"], text, number)


class RawIQModDemod(modDemod):
    """No audio and no transmission: for a transceiver whose newIQ is wanted."""
    _name = "RawIQModDemod"


class RTTYModDemod(modDemod):
    """Radioteletype: 45.45 baud, 170 Hz shift, five-unit code. On receive mark is the tone at rxFreq (modDemod) and
    space lies 170 Hz above it; on transmit mark is 2170 Hz and space 2000 Hz above the tuned frequency, whatever
    txFreq says. Received text goes to the standard output: characters as they come, "#" and a number where the timing
    has slipped, and a line of four numbers before it."""
    _name = "RTTYModDemod"
    dbg1 = Property("RTTYModDemod", "dbg1", "f", 0.0,
        "dbg1: carried for the host. Default 0.")
    dbg2 = Property("RTTYModDemod", "dbg2", "f", 0.0,
        "dbg2: carried for the host. Default 0.")
    newChars = Event("RTTYModDemod", "newChars", ["t"],
        "newChars: never called; see above.")
    newDebug = Event("RTTYModDemod", "newDebug", ["floatArray", "d", "d", "i"],
        "newDebug: 1024 differences of the two tones' levels, upper less lower, two for every 512 samples. The host owns the array. The numbers are zero.")
    sentChars = Event("RTTYModDemod", "sentChars", ["t"],
        "sentChars: a character that begins to be sent.")
    def QueueText(self, text, flags=0):
        """Letters of both cases, digits, space, line ends and - ' ! : ( + ) ? & . / = , and byte 0xA3; others idle for a
        character. "~" ends the transmission. With nothing to send letters shifts go out. Figures behind a space are
        not shifted anew: a receiver that goes back to letters with a space, as this one does, needs byte 14."""
        self._call("RTTYModDemod_QueueText", ["t", "i"], text, flags)


class SDRPlayController(Controller):
    """Lists the devices. A Controller."""
    _name = "SDRPlayController"
    Enable = Property("SDRPlayController", "Enable", "?", False,
        "Enable: carried for the host. Default false.")
    newRadio = Event("SDRPlayController", "newRadio", ["s"],
        "newRadio: a device that is free, as \"SERIAL-MODEL\" (the bare serial number if the model is unknown). Give the part before the \"-\" to SDRPlayRadio_setSerialNo and the rest to SDRPlayRadio_setModel.")
    def Discover(self):
        """Asks the API, version 3.08 exactly, for the devices present, at most 6, and tells each by newRadio. Each call
        tells all of them again."""
        self._call("SDRPlayController_Discover", [])


class SDRPlayRadio(Radio):
    """A Radio. Receives only. Its start takes the device that SerialNo names; an RSPduo runs with both tuners, as two
    ADCs, at a SampleRate of 2000000, and with tuner A at the others."""
    _name = "SDRPlayRadio"
    Antenna = Property("SDRPlayRadio", "Antenna", "i", 0,
        "Antenna: place of the antenna port among Antennas. Default 0.")
    maxRxRFGain = Property("SDRPlayRadio", "maxRxRFGain", "i", 0,
        "maxRxRFGain: highest rxGain, the model's number of LNA states; set by Model. Default 0.")
    maxRxRFGain2 = Property("SDRPlayRadio", "maxRxRFGain2", "i", 0,
        "maxRxRFGain2: the same for tuner B of an RSPduo. Default 0.")
    minRxRFGain = Property("SDRPlayRadio", "minRxRFGain", "i", 0,
        "minRxRFGain: lowest rxGain; set to 0 by Model. Default 0.")
    minRxRFGain2 = Property("SDRPlayRadio", "minRxRFGain2", "i", 0,
        "minRxRFGain2: the same for tuner B. Default 0.")
    maxRxIFGain = Property("SDRPlayRadio", "maxRxIFGain", "i", 0,
        "maxRxIFGain: highest IF gain, 59 dB, set by Model. Default 0.")
    minRxIFGain = Property("SDRPlayRadio", "minRxIFGain", "i", 0,
        "minRxIFGain: lowest IF gain, 20 dB, set by Model. Default 0.")
    rxGain = Property("SDRPlayRadio", "rxGain", "i", 3,
        "rxGain: RF gain in steps of the LNA, minRxRFGain to maxRxRFGain; values outside count as the nearer end. Default 3.")
    rxGain2 = Property("SDRPlayRadio", "rxGain2", "i", 3,
        "rxGain2: the same for tuner B. Default 3.")
    rxIFGain = Property("SDRPlayRadio", "rxIFGain", "i", 0,
        "rxIFGain: carried for the host: the IF gain follows the signal by itself. Default 0.")
    adcPeak = Property("SDRPlayRadio", "adcPeak", "d", 0.0,
        "adcPeak: largest sample of the last 200 ms; full scale reads 2.02. Set by the library. Default 0.")
    adcPeak2 = Property("SDRPlayRadio", "adcPeak2", "d", 0.0,
        "adcPeak2: the same of tuner B. Default 0.")
    BiasT = Property("SDRPlayRadio", "BiasT", "?", False,
        "BiasT: supply voltage at the antenna port (RSP1A, RSP2, RSPduo's tuner B, RSPdx). Default false.")
    ClockOut = Property("SDRPlayRadio", "ClockOut", "?", False,
        "ClockOut: reference clock at the output (RSPduo). Default false.")
    DABNotch = Property("SDRPlayRadio", "DABNotch", "?", False,
        "DABNotch: notch for digital radio (RSP1A, RSPduo, RSPdx). Default false.")
    HasClockOut = Property("SDRPlayRadio", "HasClockOut", "?", False,
        "HasClockOut: whether the model has a clock output; set by Model. Default false.")
    RFNotch = Property("SDRPlayRadio", "RFNotch", "?", False,
        "RFNotch: notch for broadcast stations (RSP1A, RSP2, RSPduo, RSPdx); on the Hi-Z port of an RSPduo its medium wave notch. Default false.")
    adcOverload = Property("SDRPlayRadio", "adcOverload", "?", False,
        "adcOverload: the tuner is overloaded. Set by the library. Default false.")
    adcOverload2 = Property("SDRPlayRadio", "adcOverload2", "?", False,
        "adcOverload2: tuner B is overloaded. Default false.")
    Model = Property("SDRPlayRadio", "Model", "s", "",
        "Model: \"RSP1\", \"RSP1A\", \"RSP2\", \"RSPduo\" or \"RSPdx\". Set it before the start; fills Antennas and the gain limits. Default empty.")
    SerialNo = Property("SDRPlayRadio", "SerialNo", "s", "",
        "SerialNo: serial number of the device that the next start takes. Default empty.")
    Antennas = List("SDRPlayRadio", "Antennas", "ValueLabelItem",
        "Antennas: list of ValueLabelItem, the model's antenna ports; a new Model replaces it.")
    SampleRates = List("SDRPlayRadio", "SampleRates", "ValueLabelItem",
        "SampleRates: list of ValueLabelItem: the six rates for Radio_setSampleRate, Hz.")


class sigGenModDemod(modDemod):
    """A test generator: sends a carrier at the tuned frequency and a tone above it, past the transmit filter as any
    mode. It receives as single sideband does."""
    _name = "sigGenModDemod"
    ampl1 = Property("sigGenModDemod", "ampl1", "d", 1.0,
        "ampl1: default 1; level of the carrier, 1 is full scale. Both levels count up to 1000, and no number as 0.")
    ampl2 = Property("sigGenModDemod", "ampl2", "d", 0.0,
        "ampl2: default 0; level of the tone.")
    freq2 = Property("sigGenModDemod", "freq2", "d", 200.0,
        "freq2: Hz, default 200; how far the tone lies above the carrier, negative for below.")


class SoapyController(Controller):
    """A Controller."""
    _name = "SoapyController"
    Enable = Property("SoapyController", "Enable", "?", False,
        "Enable: carried for the host. Default false.")
    Found = Property("SoapyController", "Found", "s", "",
        "Found: carried for the host. Default empty.")
    def Discover(self):
        """Does nothing."""
        self._call("SoapyController_Discover", [])


class SoapyRadio(Radio):
    """A Radio without samples: its transceivers stay silent."""
    _name = "SoapyRadio"
    SampleRates = List("SoapyRadio", "SampleRates", "ValueLabelItem",
        "SampleRates: list of ValueLabelItem, empty at first.")
    label = Property("SoapyRadio", "label", "s", "",
        "label: text, carried for the host. Default empty.")
    antenna = Property("SoapyRadio", "antenna", "s", "",
        "antenna: text, carried for the host. Default empty.")
    maxRxRFGain = Property("SoapyRadio", "maxRxRFGain", "i", 0,
        "maxRxRFGain: dB, carried for the host. Default 0.")
    minRxRFGain = Property("SoapyRadio", "minRxRFGain", "i", 0,
        "minRxRFGain: dB, carried for the host. Default 0.")
    rxGain = Property("SoapyRadio", "rxGain", "i", 0,
        "rxGain: dB, carried for the host. Default 0.")
    maxRxIFGain = Property("SoapyRadio", "maxRxIFGain", "i", 0,
        "maxRxIFGain: dB, carried for the host. Default 0.")
    minRxIFGain = Property("SoapyRadio", "minRxIFGain", "i", 0,
        "minRxIFGain: dB, carried for the host. Default 0.")
    rxIFGain = Property("SoapyRadio", "rxIFGain", "i", 0,
        "rxIFGain: dB, carried for the host. Default 0.")
    antennaAdded = Event("SoapyRadio", "antennaAdded", ["s"],
        "antennaAdded: never called.")
    samplerateAdded = Event("SoapyRadio", "samplerateAdded", ["i"],
        "samplerateAdded: never called.")


class ssbModDemod(modDemod):
    """Single sideband. The filters choose the sideband: 300 to 2700 Hz is upper, -2700 to -300 Hz is lower. The
    transmitted audio stays 100 Hz inside of either edge of the transmit filter."""
    _name = "ssbModDemod"
    compression = Property("ssbModDemod", "compression", "d", 1.0,
        "compression: default 1; gain into the transmit clipper, which a full-scale tone just reaches at 1.")
    UseMicEQ = Property("ssbModDemod", "UseMicEQ", "?", True,
        "UseMicEQ: default true; the microphone curve of Wireless shapes the transmission. A change of this or of the curve takes effect with the next vtrx_setTxFilter.")


class ValueLabelItem(asyncObject):
    """A choice in a list: what it stands for, and its text."""
    _name = "ValueLabelItem"
    Value = Property("ValueLabelItem", "Value", "i", 0,
        "Value: what the choice stands for, as its list says. Default 0.")
    Label = Property("ValueLabelItem", "Label", "s", "",
        "Label: its text. Default empty.")


class vtrx(asyncObject):
    """A virtual transceiver: one receive and transmit chain on a radio. Radio_addVtrx makes them; one made by
    vtrx_create belongs to no radio."""
    _name = "vtrx"
    ADCs = Property("vtrx", "ADCs", "i", 1,
        "ADCs: bit mask of the ADCs to listen to, default 1; 3 selects diversity.")
    OwnerID = Property("vtrx", "OwnerID", "i", 0,
        "OwnerID: above 0: belongs to a remote client, and has no demodulator here. Default 0.")
    TxOffset = Property("vtrx", "TxOffset", "i", 0,
        "TxOffset: Hz, default 0; transmit offset relative to vfo.")
    audioInput = Property("vtrx", "audioInput", "i", None,
        "audioInput: microphone: the Value of an item of Wireless.inputDevices; 0 for none. Default: the system's own device, which the library tells. Opened by vtrx_start, and anew after a change.")
    audioOutput = Property("vtrx", "audioOutput", "i", None,
        "audioOutput: speaker: the Value of an item of Wireless.outputDevices; negative for none. Default: the system's own device, which the library tells. Opened by vtrx_start, and anew after a change.")
    drive = Property("vtrx", "drive", "i", 0,
        "drive: transmit drive, default 0.")
    oversample = Property("vtrx", "oversample", "i", 1,
        "oversample: carried for the host. Default 1.")
    waterfallSpeed = Property("vtrx", "waterfallSpeed", "i", 0,
        "waterfallSpeed: 0 to 11, default 0; each step doubles the frames of the foreground spectrum by letting them overlap.")
    specFreq = Property("vtrx", "specFreq", "q", 14095600,
        "specFreq: Hz; centre of the spectrum, vfo + specOffset. Default 14095600. Written by the library; what a host writes is overwritten by the next update.")
    specOffset = Property("vtrx", "specOffset", "q", 0,
        "specOffset: Hz, default 0; spectrum centre relative to vfo.")
    vfo = Property("vtrx", "vfo", "q", 14095600,
        "vfo: Hz, default 14095600; the tuned frequency. A change asks the radio for a receiver.")
    ADC1Gain = Property("vtrx", "ADC1Gain", "d", 1.0,
        "ADC1Gain: linear, default 1; diversity gain of ADC 1.")
    ADC1Phase = Property("vtrx", "ADC1Phase", "d", 0.0,
        "ADC1Phase: degrees, default 0; diversity phase of ADC 1.")
    VoxHold = Property("vtrx", "VoxHold", "d", 0.5,
        "VoxHold: seconds, default 0.5.")
    VoxThreshold = Property("vtrx", "VoxThreshold", "d", 0.4,
        "VoxThreshold: linear peak level that keys, default 0.4; half of it holds.")
    micLevel = Property("vtrx", "micLevel", "d", 0.0,
        "micLevel: linear peak of the microphone, about every 0.2 s. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    signalStrength = Property("vtrx", "signalStrength", "d", 0.0,
        "signalStrength: dB, about every 0.2 s: ten times the peak power after the filter, so that a full-scale carrier reads +10. Default 0. Written by the library; what a host writes is overwritten by the next update.")
    specZoom = Property("vtrx", "specZoom", "d", 1.0,
        "specZoom: zoom factor of the spectrum, default 1. Above 1 it acts in powers of two; below 1 it widens the display where the radio has wideband data.")
    DelayAudio = Property("vtrx", "DelayAudio", "?", False,
        "DelayAudio: default false; true records 5 s of the microphone and repeats them.")
    SendAudio = Property("vtrx", "SendAudio", "?", False,
        "SendAudio: default false; raises newAudio.")
    SendIQ = Property("vtrx", "SendIQ", "?", False,
        "SendIQ: default false; raises newIQ.")
    TuningValid = Property("vtrx", "TuningValid", "?", True,
        "TuningValid: vfo and filter lie inside the hardware receiver. Default true. Written by the library; what a host writes is overwritten by the next update.")
    bandwidthSufficient = Property("vtrx", "bandwidthSufficient", "?", True,
        "bandwidthSufficient: false: the radio's rate is below the mode's. Default true. Written by the library; what a host writes is overwritten by the next update.")
    foregroundDisplay = Property("vtrx", "foregroundDisplay", "?", False,
        "foregroundDisplay: default false: about two spectra a second; true: all there are, and vox may act.")
    muted = Property("vtrx", "muted", "?", False,
        "muted: default false; true: no audio device at all.")
    ptt = Property("vtrx", "ptt", "?", False,
        "ptt: transmit request. Default false.")
    tune = Property("vtrx", "tune", "?", False,
        "tune: default false; a transmission is a plain carrier.")
    useResampler = Property("vtrx", "useResampler", "?", True,
        "useResampler: default true; the audio output follows the device's clock.")
    useVox = Property("vtrx", "useVox", "?", False,
        "useVox: default false; voice-operated transmit, in the foreground only.")
    rxagc = Property("vtrx", "rxagc", "agc", None,
        "rxagc: agc of reception. By default one of the transceiver's own; the host owns the handle that it is told.")
    txagc = Property("vtrx", "txagc", "agc", None,
        "txagc: agc in use while audio must be silent; its Volume is 0 by default.")
    newAudio = Event("vtrx", "newAudio", ["floatArray"],
        "newAudio: a block of received audio at 48000 a second, by getUpdates, while SendAudio. The host owns the array.")
    newIQ = Event("vtrx", "newIQ", ["complexArray", "d", "i"],
        "newIQ: a chunk of the hardware receiver, its centre in Hz and its rate, by getUpdates, while SendIQ. A signal above the centre has a negative frequency. The host owns the array. The only place where a host learns the receiver's centre.")
    newSpectrum = Event("vtrx", "newSpectrum", ["floatArray", "d", "d", "i"],
        "newSpectrum: 2048 values, log10 of power (times ten: dB), from `low` Hz to `high` Hz, and the rate of the samples behind them, by getRenderUpdates. With width = (high - low) / 2048 value i stands for low + (i + 1) * width: value 1023 is the centre. A place without any data holds -20. The host owns the array.")
    def remove(self):
        """Silences the transceiver and takes it off its radio."""
        self._call("vtrx_remove", [])
    def setModulation(self, modDemod):
        """Gives the transceiver a mode, any object of a modDemod class; null takes the mode away. Without one it
        receives nothing: no audio, no spectra, no signal strength. The filters stay as they are: set them for the
        mode. It acts from the next block."""
        self._call("vtrx_setModulation", ["modDemod"], modDemod)
    def setRxFilter(self, low, high):
        """Receive filter from `low` to `high` Hz relative to vfo; negative is below it. Default -3000 to 3000. It acts
        from the next block."""
        self._call("vtrx_setRxFilter", ["i", "i"], low, high)
    def setRxFrequency(self, frequency):
        """Asks the radio for a hardware receiver at `frequency` Hz; vfo stays as it is."""
        self._call("vtrx_setRxFrequency", ["q"], frequency)
    def setTxFilter(self, low, high):
        """Transmit filter from `low` to `high` Hz. Default -3000 to 6000."""
        self._call("vtrx_setTxFilter", ["i", "i"], low, high)
    def start(self):
        """Starts reception and opens the audio devices."""
        self._call("vtrx_start", [])


class Wireless(asyncObject):
    """The application object: made once, after init. It lists the audio devices, which are found when the first one is
    made, and owns the microphone curve of all voice modes."""
    _name = "Wireless"
    DefaultMicEQ = List("Wireless", "DefaultMicEQ", "calibLine",
        "DefaultMicEQ: the curve, a persistent list of calibLine: inp in Hz, strictly rising, outp a linear gain. Nine lines or more; only the first nine count. Store what the host is told, and hand it back before Wireless_Init.")
    inputDevices = List("Wireless", "inputDevices", "ValueLabelItem",
        "inputDevices: list of ValueLabelItem: capture devices. Value is what vtrx_setaudioInput takes: 0 for \"None\", 1 and up.")
    outputDevices = List("Wireless", "outputDevices", "ValueLabelItem",
        "outputDevices: list of ValueLabelItem: playback devices. Value is what vtrx_setaudioOutput takes: -1 for \"None\", the device number, or that plus 1000 for its low-latency twin, whose label ends in \"-L\".")
    PlotCplxF = Event("Wireless", "PlotCplxF", ["complexArray"],
        "PlotCplxF: may be bound; nothing calls it.")
    def Init(self):
        """Fills an empty DefaultMicEQ with nine lines of gain 1, and watches the first nine lines. Call it after the
        saved lines have been handed back."""
        self._call("Wireless_Init", [])


class WsProxyRadio(Radio):
    """A Radio; its functions work on it too. Radio_start connects, on a thread of the radio's own; what goes wrong there
    is written to the standard output as "Error: " and the reason, and the radio is silent until Radio_stop and
    Radio_start. Radio_stop acts with the next message of the server, and the next Radio_start waits for that. The
    first Radio_start makes the first transceiver; on a radio that has one already it fails, and logs that."""
    _name = "WsProxyRadio"
    RemoteID = Property("WsProxyRadio", "RemoteID", "i", 0,
        "RemoteID: the receiver to ask the server for; read by Radio_start. Default 0.")
    URI = Property("WsProxyRadio", "URI", "s", "",
        "URI: ws://host:port/path of the server; read by Radio_start. Default empty.")


__all__ = ["asyncObject", "agc", "modDemod", "amModDemod", "calibLine", "chirpyModDemod", "clientModDemod", "Controller", "cwModDemod", "fmModDemod", "fskModDemod", "hellschreiberModDemod", "Radio", "HpsdrNpRadio", "HpsdrRadio", "J16", "J16Filter", "J16FilterBands", "J16FilterRx", "JTModDemod", "MultiPskModDemod", "proxyModDemod", "PskDetector", "PskModDemod", "RawIQModDemod", "RTTYModDemod", "SDRPlayController", "SDRPlayRadio", "sigGenModDemod", "SoapyController", "SoapyRadio", "ssbModDemod", "ValueLabelItem", "vtrx", "Wireless", "WsProxyRadio"]
CLASSES.update((name, globals()[name]) for name in __all__)
