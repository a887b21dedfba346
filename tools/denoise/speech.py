"""Speech for the training: recorded prompts and synthesised voices of Debian packages, as one array of 12000 samples a second
per voice.

    speech.py FOLDER     makes FOLDER/NAME.npy for every voice (half floats, prompts with their own pauses)

docs/noise-reduction.md lists packages and licences. A voice's last field says what it is for: "train", "check" (a voice that
the training never hears) or "language" (a voice of a language that it never hears).
"""
import glob
import os
import random
import subprocess
import sys
import tempfile
import wave
from concurrent.futures import ThreadPoolExecutor

import numpy as np

RATE = 12000  # all that a receive filter for voice passes lies below 4 kHz
SOUNDS = "/usr/share/asterisk/sounds/"

# Said by synthesisers. Each language's own words, and calls, names and reports as they come on the bands.
SENTENCES = {
    "en": ["Good evening and thank you for the call, you are five and nine here.",
           "My name is Peter and my location is a small village near the river.",
           "The weather is cold and windy today, with some rain in the afternoon.",
           "I am running one hundred watts into a vertical antenna on the roof.",
           "There is deep fading on your signal, please say again your name.",
           "We will try the forty metre band again tomorrow morning around seven.",
           "Is the frequency in use? Nothing heard, so I shall call once more.",
           "My old receiver has a loud hum, but the new one is quiet.",
           "The children went to school, and I have an hour for the radio.",
           "Thanks for the contact, best wishes to you and to your family."],
    "es": ["Buenas tardes y gracias por la llamada, le recibo cinco nueve.",
           "Mi nombre es Carlos y transmito desde un pueblo cerca del mar.",
           "Hoy tenemos sol y mucho viento, la temperatura es de veinte grados.",
           "La antena es un dipolo en el jardin y la potencia cien vatios.",
           "Muchas gracias por el contacto y hasta la proxima."],
    "fr": ["Bonsoir et merci pour votre appel, je vous recois cinq neuf.",
           "Mon nom est Michel et j'habite un petit village en Bretagne.",
           "Le temps est froid ce matin, il y a du vent et de la pluie.",
           "Mon antenne est un fil de quarante metres derriere la maison.",
           "Merci pour ce contact, bonne journee et a bientot."],
    "it": ["Buonasera e grazie della chiamata, il tuo segnale e cinque nove.",
           "Il mio nome e Marco e trasmetto da una citta vicino al lago.",
           "Oggi il tempo e bello, ma ieri sera pioveva molto forte.",
           "Uso cento watt e una antenna verticale sul tetto della casa.",
           "Grazie del collegamento, tanti saluti alla famiglia."],
    "de": ["Guten Abend und vielen Dank fuer den Anruf, du kommst mit fuenf neun an.",
           "Mein Name ist Thomas, und ich wohne in einem kleinen Dorf an der Elbe.",
           "Das Wetter ist heute kalt und windig, am Abend soll es schneien.",
           "Die Antenne ist ein Dipol im Garten, die Leistung hundert Watt.",
           "Danke fuer die Verbindung, alles Gute und bis zum naechsten Mal."],
    "fi": ["Hyvaa iltaa ja kiitos kutsusta, signaalisi on viisi yhdeksan.",
           "Nimeni on Matti ja asun pienessa kylassa jarven rannalla.",
           "Tanaan on kylma ilma ja pohjoisesta tuulee kovasti.",
           "Antenni on talon katolla ja lahetysteho on sata wattia.",
           "Kiitos yhteydesta ja kaikkea hyvaa sinne."],
    "cs": ["Dobry vecer a dekuji za zavolani, prijimam vas pet devet.",
           "Jmenuji se Pavel a bydlim v male vesnici u reky.",
           "Dnes je zima a fouka silny vitr, odpoledne ma prset.",
           "Antena je na strese domu a vykon je sto wattu.",
           "Dekuji za spojeni, mejte se hezky a na slysenou."],
    "ca": ["Bona tarda i gracies per la trucada, et rebo cinc nou.",
           "El meu nom es Jordi i visc en un poble a prop del mar.",
           "Avui fa fred i vent, pero dema tindrem un dia de sol.",
           "La antena es al terrat i la potencia es de cent watts."],
    "pl": ["Dobry wieczor i dziekuje za wywolanie, odbieram was piec dziewiec.",
           "Mam na imie Jan i mieszkam w malym miescie nad rzeka.",
           "Dzisiaj jest zimno i wieje silny wiatr, a wieczorem spadnie deszcz."],
    "pt": ["Boa tarde e obrigado pela chamada, o seu sinal chega cinco nove.",
           "O meu nome e Paulo e moro numa aldeia perto do mar.",
           "Hoje esta frio e com vento, amanha deve chover."],
    "hi": ["namaste aap kaise hain", "mera naam raam hai", "aaj mausam bahut accha hai", "phir milenge dhanyavaad"],
    "ru": ["Добрый вечер и спасибо за вызов, принимаю вас пять девять.",
           "Меня зовут Пётр, я живу в небольшой деревне у реки.",
           "Сегодня холодно и дует сильный ветер, вечером будет снег.",
           "Антенна стоит на крыше дома, мощность сто ватт.",
           "Спасибо за связь, всего доброго вам и вашей семье."],
}
ALPHABET = ("alfa bravo charlie delta echo foxtrot golf hotel india juliett kilo lima mike november oscar papa quebec romeo "
            "sierra tango uniform victor whiskey xray yankee zulu").split()
DIGITS = "zero one two three four five six seven eight nine".split()

# name, kind, source, language, sex, purpose
VOICES = [
    ("en_allison", "files", "en_US_f_Allison", "en", "f", "train"),
    ("es_allison", "files", "es_MX_f_Allison", "es", "f", "train"),
    ("fr_june", "files", "fr_CA_f_June", "fr", "f", "train"),
    ("it_carlo", "files", "it_IT_m_Carlo", "it", "m", "train"),
    ("it_menardi", "files", "it_IT_f_Menardi", "it", "f", "check"),
    ("ru_ivr", "files", "ru_RU_f_IvrvoiceRU", "ru", "f", "language"),
    ("flite_awb", "flite", "awb", "en", "m", "train"),
    ("flite_slt", "flite", "slt", "en", "f", "train"),
    ("flite_kal16", "flite", "kal16", "en", "m", "train"),
    ("flite_rms", "flite", "rms", "en", "m", "check"),
    ("fest_ked", "festival", "ked_diphone", "en", "m", "train"),
    ("fest_ital_lp", "festival", "lp_diphone", "it", "f", "train"),
    ("fest_ital_pc", "festival", "pc_diphone", "it", "m", "train"),
    ("fest_dita", "festival", "czech_dita", "cs", "f", "train"),
    ("fest_krb", "festival", "czech_krb", "cs", "m", "train"),
    ("fest_machac", "festival", "czech_machac", "cs", "m", "train"),
    ("fest_ph", "festival", "czech_ph", "cs", "m", "check"),
    ("fest_suo_lj", "festival", "suo_fi_lj_diphone", "fi", "f", "train"),
    ("fest_suo_mv", "festival", "hy_fi_mv_diphone", "fi", "m", "train"),
    ("fest_ona", "festival", "upc_ca_ona_hts", "ca", "f", "train"),
    ("fest_ru", "festival", "msu_ru_nsh_clunits", "ru", "m", "language"),
] + [(f"espeak_{language}_{variant}", "espeak", f"{language}+{variant}", language[:2], variant[0], "train")
     for language, variant in [("en-us", "m3"), ("en-gb", "f2"), ("es", "m2"), ("fr", "f3"), ("de", "m1"), ("de", "f4"),
                               ("it", "m4"), ("pl", "m5"), ("pt", "f1"), ("fi", "m7")]] + [
    ("espeak_ru_m6", "espeak", "ru+m6", "ru", "m", "language")]


def resample(samples, rate):
    """To 12000 a second, by zero-padded spectra of the whole signal."""
    if rate == RATE:
        return samples
    size = 1 << int(np.ceil(np.log2(len(samples) + 4000)))
    size = -(-size // 160) * 160  # so that all the usual rates go evenly
    spectrum = np.fft.rfft(samples, size)
    out = size * RATE // rate
    wide = np.zeros(out // 2 + 1, complex)
    wide[:min(len(spectrum), len(wide))] = spectrum[:len(wide)]
    return np.fft.irfft(wide, out)[:len(samples) * RATE // rate] * (out / size)


def read_wav(path):
    with wave.open(path) as file:
        if file.getsampwidth() != 2:
            return np.zeros(0)
        samples = np.frombuffer(file.readframes(file.getnframes()), "<i2").astype(float) / 32768
        return resample(samples.reshape(-1, file.getnchannels())[:, 0], file.getframerate())


def trim(samples, keep=0.15):
    """Cuts long silence off both ends; nothing if no speech is there."""
    hop = 120
    if len(samples) < 10 * hop:
        return samples[:0]
    power = np.mean(samples[:len(samples) // hop * hop].reshape(-1, hop) ** 2, axis=1)
    loud = np.flatnonzero(power > 1e-4 * np.max(power))
    if np.max(power) < 1e-6:
        return samples[:0]
    return samples[max(0, int(loud[0] * hop - keep * RATE)):int((loud[-1] + 1) * hop + keep * RATE)]


def texts(language, seed, count):
    """Sentences of a language, mixed with calls and numbers where the alphabet is Latin."""
    rng = random.Random(seed)
    pool = SENTENCES[language]
    out = []
    for i in range(count):
        text = pool[i % len(pool)]
        if language not in ("ru", "hi") and rng.random() < 0.6:
            call = [rng.choice(ALPHABET), rng.choice(DIGITS)] + [rng.choice(ALPHABET) for _ in range(3)]
            text = " ".join(call) + ". " + text
        if language not in ("ru", "hi") and rng.random() < 0.3:
            text += " " + " ".join(rng.choice(DIGITS) for _ in range(6)) + "."
        out.append(text)
    return out


def speak(kind, source, language, seed, count):
    rng = random.Random(seed)
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "s.wav")
        for text in texts(language, seed, count):
            if kind == "flite":
                stretch = f"duration_stretch={rng.uniform(0.85, 1.2):.2f}"
                command, given = ["flite", "-voice", source, "--setf", stretch, "-t", text, "-o", path], None
            elif kind == "espeak":
                command = ["espeak-ng", "-v", source, "-s", str(rng.randint(130, 200)), "-p", str(rng.randint(30, 70)),
                           "-w", path, text]
                given = None
            else:
                given = (f'(voice_{source})\n(Parameter.set \'Duration_Stretch {rng.uniform(0.9, 1.15):.2f})\n'
                         f'(utt.save.wave (utt.synth (Utterance Text "{text}")) "{path}" \'riff)\n')
                script = os.path.join(folder, "s.scm")
                with open(script, "w", encoding="utf-8" if language == "ru" else "latin-1", errors="ignore") as file:
                    file.write(given)
                command = ["festival", "-b", script]
            if os.path.exists(path):
                os.remove(path)
            subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=120, check=False)
            if os.path.exists(path):
                yield read_wav(path)


def make(voice, folder, count):
    name, kind, source, language, _, _ = voice
    path = os.path.join(folder, name + ".npy")
    if os.path.exists(path):
        return name, np.load(path, mmap_mode="r").shape[0]
    if kind == "files":
        found = sorted(glob.glob(SOUNDS + source + "/**/*.wav", recursive=True))
        skipped = ("silence", "tone", "beep", "ascending", "descending", "tt-", "moh")
        pieces = [read_wav(f) for f in found if not any(word in f[len(SOUNDS):] for word in skipped)]
    else:
        pieces = list(speak(kind, source, language, sum(name.encode()), count))
    pieces = [trim(piece) for piece in pieces]
    pieces = [piece / np.max(np.abs(piece)) for piece in pieces if len(piece) > 0]
    order = np.random.default_rng(7).permutation(len(pieces))
    joined = np.concatenate([pieces[i] for i in order]) if pieces else np.zeros(0)
    np.save(path, joined.astype(np.float16))
    return name, len(joined)


def load(folder, purposes):
    """Voices by name, as arrays in memory."""
    return {voice[0]: np.load(os.path.join(folder, voice[0] + ".npy")) for voice in VOICES if voice[5] in purposes}


def main():
    folder = sys.argv[1]
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 30
    os.makedirs(folder, exist_ok=True)
    with ThreadPoolExecutor(2) as pool:
        for name, size in pool.map(lambda voice: make(voice, folder, count), VOICES):
            print(f"{name}: {size / RATE:.0f} s", flush=True)


if __name__ == "__main__":
    main()
