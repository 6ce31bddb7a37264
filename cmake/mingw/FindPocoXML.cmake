# Util's package asks for this one, but ours is built without it (scripts/windows/build-dependencies).
set(PocoXML_FOUND TRUE)
