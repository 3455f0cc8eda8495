#pragma once

#include "engine/core/Guid.h"
#include "engine/scene/components/ComponentEnums.h"

#include <cstdint>
#include <string>
#include <vector>

// C# scripts attached to an entity. The script host is outside the scene code: the scene
// keeps each attachment as authored, its field values as text typed by `type`.
namespace Brelk::Scene {

// One serialized field of a script, its value as text.
struct ScriptFieldRecord {
    Core::Guid fieldId;
    std::string fieldName;
    ScriptFieldType type = ScriptFieldType::Float;
    std::string value = "0";

    friend bool operator==(const ScriptFieldRecord&, const ScriptFieldRecord&) = default;
};

// `unknownFields` keeps values of fields that the script class no longer declares, so
// that a renamed field can still be recovered.
struct ScriptAttachmentRecord {
    Core::Guid attachmentId;
    Core::Guid typeId;
    std::string assemblyName;
    std::string namespaceName;
    std::string className;
    bool enabled = true;
    std::int32_t executionOrder = 0;
    bool missingScript = false;
    std::vector<ScriptFieldRecord> serializedFields;
    std::vector<ScriptFieldRecord> unknownFields;

    friend bool operator==(const ScriptAttachmentRecord&, const ScriptAttachmentRecord&) = default;
};

struct ScriptComponentRecord {
    std::vector<ScriptAttachmentRecord> scripts;

    friend bool operator==(const ScriptComponentRecord&, const ScriptComponentRecord&) = default;
};

// Hosts the scripts of an entity, in execution order. Saved as one ScriptComponentRecord.
struct ScriptComponent {
    std::vector<ScriptAttachmentRecord> scripts;

    friend bool operator==(const ScriptComponent&, const ScriptComponent&) = default;
};

} // namespace Brelk::Scene
