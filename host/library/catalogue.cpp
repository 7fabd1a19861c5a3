// The effects and kernels that the module has, as records of the door. Each is asked for once, when it is first wanted:
// the list of effects from the module's menu, an effect's settings from its dialog, kernels from the module's strings.
// What has been made stays until the process ends.

#include "host/acting/known_words.h"
#include "host/acting/suggestion.h"
#include "host/library/calls.h"
#include "host/library/descriptions.h"
#include "host/library/own_kernels.h"
#include "host/library/picture_handle.h"
#include "host/library/service.h"
#include "host/library/settings.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <stdlib.h>
#include <string.h>

struct SettingEntry {
    SettingDescription description;
    std::vector<vlm_choice> choices;
    vlm_setting record;
};

struct EffectRecord {
    const DialogTemplate *sheet;
    vlm_effect record;
    bool described = false;   // and the settings are there
    std::deque<SettingEntry> settings = {};
    std::string json = {};   // empty until it is asked for
};

struct KernelRecord {
    Kernel kernel;
    vlm_kernel record;
    std::string json;
    std::string settings;   // by which a step takes it
};

// The lock is held while the dialogs' thread is asked, which never asks here itself.
struct Catalogue {
    std::mutex lock;
    bool effectsListed = false, kernelsListed = false;
    std::deque<EffectRecord> effects;     // in the order of the dialogs' list
    std::deque<KernelRecord> kernels;     // all that have ever been told of
    std::vector<KernelRecord *> listed;   // the ready-made ones, then the user's own as they were last seen
    size_t readyMade = 0;
    std::string effectsJson;
    std::deque<std::string> kernelsJson;   // the last counts
};

static Catalogue &TheCatalogue()
{
    static Catalogue &catalogue = *new Catalogue;
    return catalogue;
}

//---- Made when they are wanted; the caller holds the lock

static uint32_t DoorTypes(uint32_t types)
{
    uint32_t bits = 0;
    for (const int32_t type : {ONE_BIT, PALETTE, GREY, RGB})
        if (types >> type & 1) bits |= 1u << DoorType(type);
    return bits;
}

// An effect that works on no picture is one that the module does not have.
static void ListEffects(Host &host, std::deque<EffectRecord> &effects)
{
    for (int32_t i = 0; i < DialogTemplateCount(); ++i) {
        const DialogTemplate *sheet = DialogTemplateAt(i);
        const uint32_t types = sheet->effect ? TypesOf(host, *sheet) : 0;
        if (!types) continue;
        const vlm_effect record = {sheet->effect,
                                   sheet->title,
                                   sheet->summary,
                                   sheet->about,
                                   sheet->example,
                                   DoorTypes(types),
                                   sheet->changesSize,
                                   sheet->draws,
                                   int(SettingRows(*sheet).size()),
                                   sheet->reachOption != nullptr,
                                   sheet->mixes};
        effects.push_back({sheet, record});
    }
}

static vlm_code WantEffects(Catalogue &catalogue)
{
    if (catalogue.effectsListed) return VLM_OK;
    Call call;
    call.task = [&catalogue](Host &host, HWND) { ListEffects(host, catalogue.effects); };
    const vlm_code code = Perform(call);
    catalogue.effectsListed = code == VLM_OK;
    return code;
}

// Texts point into the entry, which stays where it is from here on.
static void MakeRecord(SettingEntry &entry)
{
    const SettingDescription &from = entry.description;
    for (const ChoiceDescription &choice : from.choices)
        entry.choices.push_back({choice.word.c_str(), choice.label.c_str(), choice.meaning.c_str(), choice.number});
    entry.record = {from.name.c_str(),
                    from.label.c_str(),
                    from.meaning.c_str(),
                    from.unit.c_str(),
                    from.kind,
                    from.low,
                    from.high,
                    from.kind == VLM_NUMBER ? int32_t(atoi(from.shown.c_str())) : 0,
                    from.shown.c_str(),
                    from.count,
                    int(from.choices.size()),
                    from.shared,
                    from.writes,
                    from.bringsOthers,
                    from.inPixels};
}

static vlm_code WantSettings(EffectRecord &effect)
{
    if (effect.described) return VLM_OK;
    std::vector<SettingDescription> settings;
    Call call;
    call.effect = effect.sheet;
    call.task = [&](Host &, HWND dialog) { settings = DescribeSettings(dialog, *effect.sheet); };
    if (const vlm_code code = Perform(call)) return code;
    for (SettingDescription &setting : settings) {
        SettingEntry &entry = effect.settings.emplace_back();
        entry.description = std::move(setting);
        MakeRecord(entry);
    }
    effect.described = true;
    return VLM_OK;
}

static KernelRecord MakeKernel(const Kernel &kernel)
{
    KernelRecord entry = {kernel, {}, KernelJson(kernel), "--kernel " + Quoted(kernel.name)};
    entry.record.id = kernel.id;
    memcpy(entry.record.elements, kernel.elements, sizeof entry.record.elements);
    entry.record.divisor = kernel.divisor;
    entry.record.bias = kernel.bias;
    entry.record.size = SizeOf(kernel);
    return entry;
}

static KernelRecord *AddKernel(Catalogue &catalogue, const Kernel &kernel)
{
    KernelRecord &entry = catalogue.kernels.emplace_back(MakeKernel(kernel));
    entry.record.name = entry.kernel.name.c_str();
    entry.record.mode = entry.kernel.mode.c_str();
    return &entry;
}

static vlm_code WantReadyMade(Catalogue &catalogue)
{
    if (catalogue.kernelsListed) return VLM_OK;
    std::vector<Kernel> kernels;
    Call call;
    call.task = [&kernels](Host &, HWND) { kernels = ReadyMadeKernels(); };
    if (const vlm_code code = Perform(call)) return code;
    for (const Kernel &kernel : kernels) catalogue.listed.push_back(AddKernel(catalogue, kernel));
    catalogue.readyMade = kernels.size();
    catalogue.kernelsListed = true;
    return VLM_OK;
}

// One that has been told of before is the same record.
static KernelRecord *RecordOf(Catalogue &catalogue, const Kernel &kernel)
{
    for (KernelRecord &entry : catalogue.kernels) {
        const Kernel &known = entry.kernel;
        if (known.id == 0 && known.name == kernel.name && known.mode == kernel.mode &&
            known.divisor == kernel.divisor && known.bias == kernel.bias &&
            std::equal(std::begin(known.elements), std::end(known.elements), std::begin(kernel.elements)))
            return &entry;
    }
    return AddKernel(catalogue, kernel);
}

// Looks into the user's folder again.
static vlm_code WantKernels(Catalogue &catalogue, std::vector<std::string> &faults)
{
    if (const vlm_code code = WantReadyMade(catalogue)) return code;
    catalogue.listed.resize(catalogue.readyMade);
    for (const Kernel &kernel : OwnKernels(faults)) catalogue.listed.push_back(RecordOf(catalogue, kernel));
    return VLM_OK;
}

static vlm_code WantKernels(Catalogue &catalogue)
{
    std::vector<std::string> ignored;
    return WantKernels(catalogue, ignored);
}

//---- Looking things up; the caller holds the lock

static EffectRecord *EntryOf(Catalogue &catalogue, const vlm_effect *effect)
{
    for (EffectRecord &entry : catalogue.effects)
        if (&entry.record == effect) return &entry;
    return nullptr;
}

static EffectRecord *EntryNamed(Catalogue &catalogue, const std::string &name)
{
    std::vector<std::string> names;
    for (EffectRecord &entry : catalogue.effects) {
        if (name == entry.sheet->effect) return &entry;
        names.push_back(entry.sheet->effect);
    }
    const std::string known = KnownWordHint(name), suggestion = known.empty() ? Suggestion(name, names) : known;
    Fail(VLM_NO_SUCH_EFFECT, name,
         "no such effect" + (suggestion.empty() ? " (velmorant effects lists them)" : suggestion));
    return nullptr;
}

static KernelRecord *KernelNamed(Catalogue &catalogue, const std::string &name)
{
    std::vector<Kernel> kernels;
    for (const KernelRecord *entry : catalogue.listed) kernels.push_back(entry->kernel);
    std::string error;
    const int32_t found = FindKernel(kernels, name, error);
    if (found >= 0) return catalogue.listed[size_t(found)];
    Fail(VLM_BAD_VALUE, name, error);
    return nullptr;
}

// What a question to the catalogue comes to; null, with the error noted, where it has no answer.
template <typename Answer> static auto Ask(Answer answer) noexcept
{
    decltype(answer(TheCatalogue())) result = nullptr;
    Guarded([&] {
        Catalogue &catalogue = TheCatalogue();
        const std::lock_guard hold(catalogue.lock);
        result = answer(catalogue);
        return VLM_OK;
    });
    return result;
}

//---- Effects through the door

int vlm_effect_count(void)
{
    int count = 0;
    Guarded([&count] {
        Catalogue &catalogue = TheCatalogue();
        const std::lock_guard hold(catalogue.lock);
        if (const vlm_code code = WantEffects(catalogue)) return code;
        count = int(catalogue.effects.size());
        return VLM_OK;
    });
    return count;
}

const vlm_effect *vlm_effect_at(int index)
{
    return Ask([index](Catalogue &catalogue) -> const vlm_effect * {
        if (WantEffects(catalogue) != VLM_OK || index < 0 || size_t(index) >= catalogue.effects.size()) return nullptr;
        return &catalogue.effects[size_t(index)].record;
    });
}

const vlm_effect *vlm_effect_named(const char *name)
{
    return Ask([name](Catalogue &catalogue) -> const vlm_effect * {
        if (!name) return FailArgument("name"), nullptr;
        const EffectRecord *entry = WantEffects(catalogue) == VLM_OK ? EntryNamed(catalogue, name) : nullptr;
        return entry ? &entry->record : nullptr;
    });
}

const vlm_setting *vlm_effect_setting(const vlm_effect *effect, int index)
{
    return Ask([effect, index](Catalogue &catalogue) -> const vlm_setting * {
        EffectRecord *entry = EntryOf(catalogue, effect);
        if (!entry) return FailArgument("effect"), nullptr;
        if (WantSettings(*entry) != VLM_OK || index < 0 || size_t(index) >= entry->settings.size()) return nullptr;
        return &entry->settings[size_t(index)].record;
    });
}

const vlm_setting *vlm_effect_setting_named(const vlm_effect *effect, const char *name)
{
    return Ask([effect, name](Catalogue &catalogue) -> const vlm_setting * {
        EffectRecord *entry = EntryOf(catalogue, effect);
        if (!entry || !name) return FailArgument("effect or name"), nullptr;
        if (WantSettings(*entry) != VLM_OK) return nullptr;
        for (const SettingEntry &setting : entry->settings)
            if (setting.description.name == name) return &setting.record;
        Fail(VLM_NO_SUCH_SETTING, std::string("--") + name, std::string("is no setting of ") + entry->sheet->effect);
        return nullptr;
    });
}

const vlm_choice *vlm_setting_choice(const vlm_setting *setting, int index)
{
    return Ask([setting, index](Catalogue &catalogue) -> const vlm_choice * {
        for (const EffectRecord &effect : catalogue.effects)
            for (const SettingEntry &entry : effect.settings) {
                if (&entry.record != setting) continue;
                return index < 0 || size_t(index) >= entry.choices.size() ? nullptr : &entry.choices[size_t(index)];
            }
        FailArgument("setting");
        return nullptr;
    });
}

// Made when it is asked for: runs need none of it.
static const std::string &JsonOf(EffectRecord &effect)
{
    std::vector<SettingDescription> settings;
    for (const SettingEntry &entry : effect.settings) settings.push_back(entry.description);
    if (effect.json.empty()) effect.json = EffectJson(*effect.sheet, settings);
    return effect.json;
}

static bool Holds(const std::string &text, const std::string &word)
{
    return LowerCase(text).find(word) != std::string::npos;
}

// Names first, then what people call so, then summaries, then kernels; nothing twice.
static std::vector<vlm_found> FindAll(const Catalogue &catalogue, const std::string &word)
{
    std::vector<vlm_found> found;
    const auto add = [&found](const EffectRecord &entry, const char *settings) {
        for (const vlm_found &before : found)
            if (before.effect == &entry.record && !strcmp(before.settings, settings)) return;
        found.push_back({&entry.record, settings});
    };
    for (const EffectRecord &entry : catalogue.effects)
        if (Holds(entry.record.name, word) || Holds(entry.record.title, word)) add(entry, "");
    for (const KnownWord &known : KnownWords())
        for (const EffectRecord &entry : catalogue.effects)
            if (Holds(known.word, word) && !strcmp(entry.record.name, known.effect)) add(entry, known.settings);
    for (const EffectRecord &entry : catalogue.effects)
        if (Holds(entry.record.summary, word)) add(entry, "");
    for (const EffectRecord &entry : catalogue.effects)
        for (const KernelRecord *kernel : catalogue.listed)
            if (Holds(kernel->kernel.name, word) && !strcmp(entry.record.name, "filters"))
                add(entry, kernel->settings.c_str());
    return found;
}

int vlm_effects_find(const char *word, vlm_found *found, int room)
{
    int count = 0;
    Guarded([&] {
        if (!word || !*word || room < 0 || (room > 0 && !found)) return FailArgument("word, found or room");
        Catalogue &catalogue = TheCatalogue();
        const std::lock_guard hold(catalogue.lock);
        if (const vlm_code code = WantEffects(catalogue)) return code;
        if (const vlm_code code = WantKernels(catalogue)) return code;
        const std::vector<vlm_found> all = FindAll(catalogue, LowerCase(word));
        for (size_t i = 0; i < all.size() && i < size_t(room); ++i) found[i] = all[i];
        count = int(all.size());
        return count ? VLM_OK : Fail(VLM_NO_SUCH_EFFECT, word, "no effect or kernel goes by this word");
    });
    return count;
}

static const char *AllEffectsJson(Catalogue &catalogue)
{
    std::vector<std::string> entries;
    for (EffectRecord &entry : catalogue.effects) {
        if (WantSettings(entry) != VLM_OK) return nullptr;
        entries.push_back(JsonOf(entry));
    }
    if (catalogue.effectsJson.empty()) catalogue.effectsJson = ListJson(entries);
    return catalogue.effectsJson.c_str();
}

const char *vlm_effects_json(const char *name)
{
    return Ask([name](Catalogue &catalogue) -> const char * {
        if (WantEffects(catalogue) != VLM_OK) return nullptr;
        if (!name) return AllEffectsJson(catalogue);
        EffectRecord *entry = EntryNamed(catalogue, name);
        return entry && WantSettings(*entry) == VLM_OK ? JsonOf(*entry).c_str() : nullptr;
    });
}

//---- Kernels through the door

int vlm_kernel_count(void)
{
    int count = 0;
    Guarded([&count] {
        Catalogue &catalogue = TheCatalogue();
        const std::lock_guard hold(catalogue.lock);
        std::vector<std::string> faults;
        if (const vlm_code code = WantKernels(catalogue, faults)) return code;
        SetNotices(faults);
        count = int(catalogue.listed.size());
        return VLM_OK;
    });
    return count;
}

const vlm_kernel *vlm_kernel_at(int index)
{
    return Ask([index](Catalogue &catalogue) -> const vlm_kernel * {
        const vlm_code code = catalogue.kernelsListed ? VLM_OK : WantKernels(catalogue);
        if (code != VLM_OK || index < 0 || size_t(index) >= catalogue.listed.size()) return nullptr;
        return &catalogue.listed[size_t(index)]->record;
    });
}

const vlm_kernel *vlm_kernel_named(const char *name)
{
    return Ask([name](Catalogue &catalogue) -> const vlm_kernel * {
        if (!name) return FailArgument("name"), nullptr;
        const KernelRecord *entry = WantKernels(catalogue) == VLM_OK ? KernelNamed(catalogue, name) : nullptr;
        return entry ? &entry->record : nullptr;
    });
}

const char *vlm_kernels_json(const char *name)
{
    return Ask([name](Catalogue &catalogue) -> const char * {
        if (WantKernels(catalogue) != VLM_OK) return nullptr;
        if (name) {
            const KernelRecord *entry = KernelNamed(catalogue, name);
            return entry ? entry->json.c_str() : nullptr;
        }
        std::vector<std::string> entries;
        for (const KernelRecord *entry : catalogue.listed) entries.push_back(entry->json);
        std::string json = ListJson(entries);
        if (catalogue.kernelsJson.empty() || catalogue.kernelsJson.back() != json)
            catalogue.kernelsJson.push_back(std::move(json));
        return catalogue.kernelsJson.back().c_str();
    });
}

//---- The library itself

vlm_code vlm_start(void)
{
    return Guarded([] {
        Call call;
        call.task = [](Host &, HWND) {};
        return Perform(call);
    });
}

const char *vlm_type_name(vlm_type type)
{
    const int32_t colourType = ColourTypeOf(type);
    return colourType ? NameOfColourType(colourType) : nullptr;
}
