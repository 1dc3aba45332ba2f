#include "math/equation_code.h"

#include <algorithm>
#include <utility>

namespace Equation {

bool Builder::OfX(const Operand& operand) const {
    if (operand.What == Operand::Kind::Result) return Nodes[operand.Index].OfX;
    return operand.What == Operand::Kind::X;
}

Operand Builder::Ask(Question question) {
    Questions.push_back(std::move(question));
    Operand answer;
    answer.What = Operand::Kind::Answer;
    answer.Index = Questions.size() - 1;
    return answer;
}

Operand Builder::Emit(Op op, const Operand& a, const Operand& b) {
    const bool two = HasTwoOperands(op);
    const auto constant = [](const Operand& operand) { return operand.What == Operand::Kind::Constant; };
    Operand result;
    if (constant(a) && (!two || constant(b))) {
        result.Value = Compute(op, a.Value, b.Value);
        return result;
    }
    Node node{op, a, b, OfX(a) || (two && OfX(b))};
    if (op == Op::Add && b.What == Operand::Kind::Result && Nodes[b.Index].Code == Op::Negate) {
        node.Code = Op::Subtract;
        node.B = Nodes[b.Index].A;
        Nodes[b.Index].Used = false;
    }
    Nodes.push_back(node);
    result.What = Operand::Kind::Result;
    result.Index = Nodes.size() - 1;
    return result;
}

std::int32_t Builder::BlockOf(const Operand& operand) const {
    if (operand.What == Operand::Kind::X) return 0;
    return operand.What == Operand::Kind::Result ? Nodes[operand.Index].Block : Fixed;
}

// A result is an operand once, so its block is free again as soon as it was used.
std::size_t Builder::AssignBlocks() {
    std::vector<std::int32_t> free;
    std::int32_t last = 0;
    for (Node& node : Nodes) {
        if (!node.Used || !node.OfX) continue;
        for (const Operand* const operand : {&node.A, &node.B})
            if (const std::int32_t block = BlockOf(*operand); block > 0) free.push_back(block);
        if (free.empty()) {
            node.Block = ++last;
        } else {
            node.Block = free.back();
            free.pop_back();
        }
    }
    return static_cast<std::size_t>(last);
}

// Cells of the answers come first, then those of the steps, then two for the constants of each step.
const double* Builder::CellOf(const Operand& operand, Code& code, std::size_t& constants) const {
    switch (operand.What) {
    case Operand::Kind::X: return &code.X;
    case Operand::Kind::Place: return operand.Place;
    case Operand::Kind::Answer: return &code.Cells[operand.Index];
    case Operand::Kind::Result: return &code.Cells[Questions.size() + operand.Index];
    case Operand::Kind::Constant: break;
    }
    double& cell = code.Cells[constants++];
    cell = operand.Value;
    return &cell;
}

void Builder::LaySteps(Code& code) const {
    std::size_t constants = Questions.size() + Nodes.size() + 1;
    for (std::size_t i = 0; i < Nodes.size(); ++i) {
        const Node& node = Nodes[i];
        if (!node.Used) continue;
        Step step;
        step.Code = node.Code;
        step.A = CellOf(node.A, code, constants);
        step.ABlock = BlockOf(node.A);
        if (HasTwoOperands(node.Code)) {
            step.B = CellOf(node.B, code, constants);
            step.BBlock = BlockOf(node.B);
        }
        step.To = &code.Cells[Questions.size() + i];
        step.ToBlock = node.Block;
        std::vector<Step>& steps = node.OfX ? code.EachPoint : code.Once;
        if (!steps.empty() && step.A == steps.back().To)
            step.Last = Chain::A;
        else if (!steps.empty() && step.B == steps.back().To)
            step.Last = Chain::B;
        steps.push_back(step);
    }
}

void Builder::Finish(const Operand& result, const Error& failure, Code& code) {
    code.Failure = failure;
    if (!failure.Message.empty()) Nodes.clear(); // nothing of it will be computed
    code.Cells.assign(Questions.size() + 3 * Nodes.size() + 1, 0.0);
    code.Blocks.resize(AssignBlocks() * BlockPoints);
    LaySteps(code);
    std::size_t own = Questions.size() + Nodes.size();
    code.Result = CellOf(result, code, own);
    code.ResultBlock = BlockOf(result);
    code.Questions = std::move(Questions);
    for (std::size_t i = 0; i < code.Questions.size(); ++i) code.Questions[i].To = &code.Cells[i];
}

}
