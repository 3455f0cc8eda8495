#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/ScriptComponents.h"

namespace Brelk::Scene {
namespace {

using Detail::AssetField;
using Detail::EntityField;
using Detail::EnumField;
using Detail::Labelled;
using Detail::RegisterCatalogueEnum;
using Reflection::FieldAttr;
using Reflection::ReflectedTypeBuilder;

constexpr ComponentFlags kUserFlags = ComponentFlags::UserAddable | ComponentFlags::Saved;

} // namespace

void RegisterScriptingComponents() {
    RegisterCatalogueEnum<ScriptFieldType>("ScriptFieldType", {{"Bool"},
                                                               {"Int32"},
                                                               {"UInt32"},
                                                               {"Int64"},
                                                               {"Float"},
                                                               {"Double"},
                                                               {"String"},
                                                               {"Vector2"},
                                                               {"Vector3"},
                                                               {"Vector4"},
                                                               {"Quaternion"},
                                                               {"Color"},
                                                               {"EntityReference"},
                                                               {"AssetReference"},
                                                               {"Enum"}});

    Labelled(ReflectedTypeBuilder<ScriptFieldRecord>("ScriptFieldRecord", "ScriptFieldRecord", "Serialization"))
        .Field("fieldId", &ScriptFieldRecord::fieldId)
        .Field("fieldName", &ScriptFieldRecord::fieldName)
        .Field("type", &ScriptFieldRecord::type, EnumField("ScriptFieldType"))
        .Field("value", &ScriptFieldRecord::value);

    Labelled(ReflectedTypeBuilder<ScriptAttachmentRecord>("ScriptAttachmentRecord", "ScriptAttachmentRecord",
                                                          "Serialization"))
        .Field("attachmentId", &ScriptAttachmentRecord::attachmentId)
        .Field("typeId", &ScriptAttachmentRecord::typeId)
        .Field("assemblyName", &ScriptAttachmentRecord::assemblyName)
        .Field("namespaceName", &ScriptAttachmentRecord::namespaceName)
        .Field("className", &ScriptAttachmentRecord::className)
        .Field("enabled", &ScriptAttachmentRecord::enabled)
        .Field("executionOrder", &ScriptAttachmentRecord::executionOrder)
        .Field("missingScript", &ScriptAttachmentRecord::missingScript)
        .Field("serializedFields", &ScriptAttachmentRecord::serializedFields)
        .Field("unknownFields", &ScriptAttachmentRecord::unknownFields);

    Labelled(
        ReflectedTypeBuilder<ScriptComponentRecord>("ScriptComponentRecord", "ScriptComponentRecord", "Serialization"))
        .Field("scripts", &ScriptComponentRecord::scripts);

    using S = ScriptComponent;
    RegisterComponent<S>("ScriptComponent", "Script Component", "Scripting", kUserFlags)
        .Description("Hosts one or more C# script attachments.")
        .AddCustom(&S::scripts)
        .SaveAs<ScriptComponentRecord>(
            [](const S& component, ScriptComponentRecord& record) { record.scripts = component.scripts; },
            [](const ScriptComponentRecord& record, S& component) { component.scripts = record.scripts; });
}

} // namespace Brelk::Scene
