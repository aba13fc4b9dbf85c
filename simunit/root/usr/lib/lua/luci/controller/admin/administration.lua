-- The account query of the web controller. Answers from the plain files /account/username and
-- /account/password.
module("luci.controller.admin.administration", package.seeall)

local function first_line(path)
    local file = io.open(path)
    local line = file and file:read("*l")
    if file then file:close() end
    return line or ""
end

function dispatch(request)
    if request.form ~= "account" or request.operation ~= "appget" then
        return { success = false }
    end
    return {
        success = true,
        data = {
            username = first_line("/account/username"),
            password = first_line("/account/password"),
        },
    }
end
